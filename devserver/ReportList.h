#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

// The reports of a folder (ReportInbox.h) by number, the newest last: what ReadReportFacts tells,
// and "number", "received" (UTC; empty when the inbox's notes are missing) and "equal", the number
// of reports of the same operation, stage, failure and code, this included. Throws a std::exception
// when the folder cannot be read.
nlohmann::json ListReports(const std::filesystem::path& folder);

// The whole text of one; nothing when there is none.
std::optional<std::string> ReadReport(const std::filesystem::path& folder, unsigned number);

// For a terminal: a heading and a line for each. What the reports' senders wrote has lost its
// control characters.
std::string FormatTable(const nlohmann::json& reports);
std::string WithoutControls(const std::string& text);
