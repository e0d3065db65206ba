#pragma once

#include <map>
#include <string>
#include <vector>

#include "kit/AppFolder.h"
#include "kit/Findings.h"
#include "kit/ProductFolder.h"

struct PackJob {
    std::wstring base;     // executable that holds no product's resources yet
    std::wstring product;  // the product's folder
    std::wstring app;      // the application's folder
    // The folder to publish; the one above it must be there. Empty: for a check without it.
    std::wstring out;
    // "x64" and "ia32"; none: what the application's own program is for.
    std::vector<std::string> architectures;
    std::string baseUrl;  // in front of /download/win/...; empty: as the product says
    std::string altUrl;   // the same for the second address, which is tried first; empty: altUrl of
                          // the product, if any
    Settings settings = {};
};

/// What a pack is made of, as far as it is known before anything is written.
struct PackPlan {
    Product product;
    AppFolder app;
    std::vector<std::string> architectures;  // each once
    std::string baseUrl;                     // without a slash at the end
    std::string altUrl;                      // the same, may be empty
    std::string manifestUrl;                 // where the installed program looks
};

/// Checks everything. Nothing is left behind, but an empty folder is made and removed again in each
/// folder that is to be written. The plan is fit for use when no finding is an error.
PackPlan CheckPack(const PackJob& job, Findings& findings);

/// The files of a pack, named below the folder to publish with forward slashes.
std::string ArchiveName(const PackPlan& plan, const std::string& arch);
std::string OnlineName(const PackPlan& plan);
std::string OfflineName(const PackPlan& plan, const std::string& arch);

/// The manifest for archives of this checksum, and the list of checksums by name; both with what
/// the ones in the folder to publish hold of others.
std::string MakeManifest(const PackJob& job, const PackPlan& plan, const std::string& hash,
                         Findings& findings);
std::string MakeChecksums(const PackJob& job, const std::map<std::string, std::string>& made,
                          Findings& findings);
