#pragma once

#include <string>
#include <vector>

#include "services/Version.h"

/// One archive that the server offers. All fields are UTF-8 and empty when the file has no such
/// string.
struct ManifestEntry {
    std::string url;
    /// When present, the address that is tried first.
    std::string altUrl;
    /// Kept for the record; nothing compares the archive with it.
    std::string hash;
    /// "ia32" or "x64".
    std::string arch;
};

struct Manifest {
    Version version;
    /// In the order of the file.
    std::vector<ManifestEntry> entries;
};

/// Reads the update manifest, or a package.json, which has a version and no archives. Fills a
/// freshly constructed `manifest`. 0, or -1 for a null argument, a file that is missing, cannot be
/// opened or is no such JSON, and a version that is absent or no string; the content of `manifest`
/// is then to be thrown away. Logs nothing, throws nothing.
int ParseManifest(const wchar_t* path, Manifest* manifest);

/// The archive for this machine: the first for its architecture, otherwise the first at all, null
/// when there is none. Points into `manifest`.
const ManifestEntry* SelectManifestEntry(const Manifest& manifest);

/// The same choice for a system of the given bitness.
const ManifestEntry* SelectManifestEntry(const Manifest& manifest, bool is64BitSystem);
