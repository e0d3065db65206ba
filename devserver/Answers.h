#pragma once

#include <httplib.h>

#include <filesystem>

#include "Faults.h"
#include "Relay.h"
#include "ReportInbox.h"
#include "RequestLog.h"

// What the answers are made of. Outlives the servers.
struct ServerState {
    std::filesystem::path directory;
    RequestLog log;
    Faults faults;
    ReportInbox inbox;
};

// Teaches the library's server its answers: files below the directory, the report inbox,
// /_control/, and the faults. Its clients come through the relay. Before it listens.
void AddAnswers(httplib::Server& server, Relay& relay, ServerState& state);
