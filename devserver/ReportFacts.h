#pragma once

#include <string>
#include <vector>

/// What the head of a report's text tells. A piece that the text lacks is empty.
struct ReportFacts {
    std::string operation;             ///< English; empty for a report that belongs to none
    std::string stage;                 ///< English
    std::string failure;               ///< English, with the number of the error in front
    std::vector<std::string> details;  ///< paths, versions
    std::string code;                  ///< of the system, decimal
    std::string codeText;              ///< the system's words for it, in the user's language
    std::string localTime;
    std::string system;
    std::string newVersion;  ///< the one being installed or removed
    std::string oldVersion;  ///< the one that was there before
    std::string installerVersion;
};

/// Reads the text of a report, UTF-8. Any text gives something: what does not look like a report
/// has its first line as the failure.
ReportFacts ReadReportFacts(const std::string& text);
