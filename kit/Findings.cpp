#include "kit/Findings.h"

#include <algorithm>
#include <utility>

void AddError(Findings& findings, const char* file, std::string key, std::string message) {
    findings.push_back({true, file, std::move(key), std::move(message)});
}

void AddWarning(Findings& findings, const char* file, std::string key, std::string message) {
    findings.push_back({false, file, std::move(key), std::move(message)});
}

bool HasErrors(const Findings& findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.isError; });
}

std::string FormatFinding(const Finding& finding) {
    std::string line = finding.isError ? "error: " : "warning: ";
    line += finding.file + ": ";
    if (!finding.key.empty()) {
        line += finding.key + ": ";
    }
    return line + finding.message;
}
