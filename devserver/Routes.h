#pragma once

#include <filesystem>

#include "Faults.h"
#include "Listener.h"
#include "ReportInbox.h"
#include "RequestLog.h"

/// What the handlers work on. Outlives the listeners.
struct ServerState {
    std::filesystem::path directory;
    RequestLog log;
    Faults faults;
    ReportInbox inbox;
};

/// Teaches a listener its answers: files below the directory, the report inbox, /_control/ and the
/// scripted answers 404, 500 and redirect. Before the listener starts.
void AddRoutes(Listener& listener, ServerState& state);
