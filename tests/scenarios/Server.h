#pragma once

/// The product's server: what it offers, how it misbehaves, what it saw.

#include <string>
#include <vector>

/// Offers nothing but the archives, obeys, and forgets requests and reports.
void ResetServer();

/// Address of a file on the server, over http and over https.
std::string ServerUrl(const std::string& file);
std::string SecureUrl(const std::string& file);

/// The user trusts the server's certificate from now on, for the rest of the run: this Wine goes on
/// trusting what is taken out of the store again.
void TrustServer();

/// Puts this text at the manifest's address.
void PublishManifest(const std::string& text);

/// Text of a manifest with one archive, for the architecture of this machine. An empty altUrl is
/// left out.
std::string MakeManifest(const std::string& version, const std::string& url,
                         const std::string& altUrl = "");

/// PublishManifest of the version with this archive.
void PublishVersion(const std::string& version, const std::string& archive = "app.zip");

/// The next `count` requests (-1: all) whose path begins so meet this fault: refuse, 404, cut, ...
/// (docs/devserver.md).
void AddFault(const std::string& path, const std::string& fault, int count);

/// What the server saw, in order: "GET /app.zip 200", with the status or the fault's name, in front
/// "secure " when it came over https; "https" for an attempt over TLS on the plain port; otherwise
/// the log's word for a connection without a request.
std::vector<std::string> SeenRequests();

/// The readable texts of the reports it received, the oldest first.
std::vector<std::string> ReceivedReports();
