#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/AppFolder.h"
#include "kit/Findings.h"
#include "kit/ProductFolder.h"

struct PackJob {
    std::wstring base;     // executable that holds no product's resources yet
    std::wstring product;  // the product's folder
    std::wstring app;      // the application's folder
    std::wstring out;      // the folder to publish; the one above it must be there
    // "x64" and "ia32"; none: what the application's own program is for.
    std::vector<std::string> architectures;
    std::string baseUrl;  // in front of /download/win/...; empty: as the product says
    std::string altUrl;   // the same for the second address, which is tried first; empty: none
};

/// What a pack is made of, as far as it is known before anything is written.
struct PackPlan {
    Product product;
    AppFolder app;
    std::vector<std::string> architectures;
    std::string baseUrl;      // without a slash at the end
    std::string altUrl;       // the same, may be empty
    std::string manifestUrl;  // where the installed program looks
};

struct PackedFile {
    std::string path;  // below the folder to publish, forward slashes
    std::uint64_t bytes;
};

/// Checks everything without writing. The plan is fit for use when no finding is an error.
PackPlan CheckPack(const PackJob& job, Findings& findings);

/// Makes the archive, the manifest, the online and the offline setup and the list of checksums.
/// The work is done in a folder beside `out`, which is either complete at the end or as it was.
/// Returns an empty text, or one line that says what failed.
std::string MakePack(const PackJob& job, const PackPlan& plan, std::vector<PackedFile>& files);
