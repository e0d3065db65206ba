#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ReportFacts.h"

/// A report as the inbox has stored it (ReportInbox.h).
struct StoredReport {
    unsigned number = 0;
    std::string received;  ///< UTC; empty when the inbox's notes are missing
    ReportFacts facts;
    unsigned equals = 0;  ///< reports of the same operation, stage, failure and code, this included
};

/// The reports of a folder by number, the newest last. False when the folder cannot be read.
bool ListReports(const std::filesystem::path& folder, std::vector<StoredReport>& reports);

/// The whole text of one; false when there is none.
bool ReadReport(const std::filesystem::path& folder, unsigned number, std::string& text);

/// For a terminal: a heading and a line for each. What the reports' senders wrote has lost its
/// control characters.
std::string FormatTable(const std::vector<StoredReport>& reports);
std::string WithoutControls(const std::string& text);

nlohmann::json ToJson(const StoredReport& report);
