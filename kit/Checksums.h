#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "kit/Findings.h"

/// The name of the list of checksums, in the form that `sha256sum -c` reads.
constexpr const char* checksumsName = "SHA256SUMS";

/// The list for `made`, hexadecimal digits by path, with the lines of an existing list for other
/// files that `isThere` still knows. Sorted by path. `existing` may be empty or have CR LF. A line
/// that is none becomes an error.
std::string MergeChecksums(std::string_view existing, std::map<std::string, std::string> made,
                           const std::function<bool(const std::string& path)>& isThere,
                           Findings& findings);
