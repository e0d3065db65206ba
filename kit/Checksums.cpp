#include "kit/Checksums.h"

#include <algorithm>

namespace {

constexpr std::size_t digits = 64;  // of a SHA-256
constexpr std::size_t pathPlace = digits + 2;

bool IsLine(std::string_view line) {
    return line.size() > pathPlace &&
           line.substr(0, digits).find_first_not_of("0123456789abcdef") == std::string_view::npos &&
           line[digits] == ' ' && (line[digits + 1] == ' ' || line[digits + 1] == '*');
}

}  // namespace

std::string MergeChecksums(std::string_view existing, std::map<std::string, std::string> made,
                           const std::function<bool(const std::string& path)>& isThere,
                           Findings& findings) {
    unsigned number = 0;
    while (!existing.empty()) {
        const std::size_t end = std::min(existing.find('\n'), existing.size());
        std::string_view line = existing.substr(0, end);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        existing.remove_prefix(std::min(end + 1, existing.size()));
        ++number;
        if (!IsLine(line)) {
            AddError(findings, checksumsName, "line " + std::to_string(number),
                     "is no checksum; expected 64 digits of 0-9 and a-f, two blanks, a path");
            continue;
        }
        const std::string path(line.substr(pathPlace));
        if (isThere(path)) {
            made.try_emplace(path, line.substr(0, digits));
        }
    }
    std::string list;
    for (const auto& [path, hex] : made) {
        list.append(hex).append("  ").append(path).append("\n");
    }
    return list;
}
