#pragma once

#include <nlohmann/json.hpp>
#include <string>

// What the head of a report's text, UTF-8, tells: "operation" (empty for a report that belongs to
// none), "stage" and "failure" (with the number of the error in front) in English; "details"
// (paths, versions); "code" of the system, decimal, and "codeText" in the user's language;
// "localTime", "system"; "newVersion" (the one being installed or removed), "oldVersion" (the one
// that was there before), "installerVersion". What the text lacks is empty. Any text gives
// something: what does not look like a report has its first line as the failure.
nlohmann::json ReadReportFacts(const std::string& text);
