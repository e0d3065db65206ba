#pragma once

/// The product's server: how it misbehaves, what it saw.

#include "scenarios/Prepared.h"

struct ScenarioRow;

/// How the server misbehaves, see docs/devserver.md.
struct ServerFault {
    std::string path;   // how the request's path begins
    std::string fault;  // refuse, 404, cut, ...
    int count = -1;     // so many requests; -1: all
    std::string to{};   // of a redirect
};

/// Offers the row's manifest and the archives, with the row's faults, and forgets requests and
/// reports.
void ResetServer(const ScenarioRow& row);

/// The user trusts the server's certificate from now on, for the rest of the run: this Wine goes on
/// trusting what is taken out of the store again.
void TrustServer();

/// What the server saw, in order: "GET /app.zip 200", with the status or the fault's name, in front
/// "secure " when it came over https; "https" for an attempt over TLS on the plain port; "no
/// request" for another connection that asked nothing. Those for reports come last.
Lines SeenRequests();

/// What it sees of so many of these: each comes after an attempt over TLS.
Lines Requests(const std::vector<std::pair<std::string, int>>& answers);

constexpr char gotManifest[] = "/download/win/manifest.json 200";

/// The readable texts of the reports it received, the oldest first.
Lines ReceivedReports();
