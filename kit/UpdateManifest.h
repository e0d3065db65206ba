#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/Findings.h"

constexpr const char* manifestName = "download/win/manifest.json";

/// An archive as the manifest offers it. All text is UTF-8.
struct ArchiveOffer {
    std::string arch;  // "ia32" or "x64"
    std::string url;
    std::string altUrl;  // tried first; may be empty
    std::string hash;    // SHA-256, hexadecimal
};

/// The manifest that offers these archives. One that exists already and is of the same version
/// keeps its other archives and keys; one of another version is replaced as a whole, with a warning
/// when it is newer. `existing` may be empty. What cannot be read becomes an error.
std::string MergeManifest(std::string_view existing, const std::string& version,
                          const std::vector<ArchiveOffer>& offers, Findings& findings);

/// Makes an error of every entry of a manifest, as MergeManifest gives it, whose archive's name
/// does not begin like this: it is another product's.
void CheckOffers(const std::string& manifest, const std::string& nameStart, Findings& findings);
