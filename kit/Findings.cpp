#include "kit/Findings.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "kit/Characters.h"
#include "kit/Files.h"

namespace {

/// What would split the line or hide in it, as JSON writes it.
std::string EscapeUnseen(const std::string& text) {
    std::wstring shown;
    for (const wchar_t character : Widen(text)) {
        if (!IsUnseen(character)) {
            shown += character;
            continue;
        }
        wchar_t escape[7];
        std::swprintf(escape, 7, L"\\u%04x", static_cast<unsigned>(character));
        shown += escape;
    }
    return Narrow(shown);
}

}  // namespace

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
    return EscapeUnseen(line + finding.message);
}
