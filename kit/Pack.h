#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Failure.h"
#include "kit/PackPlan.h"

struct PackedFile {
    std::string path;  // below the folder to publish, forward slashes
    std::uint64_t bytes;
};

/// Makes the archive, the manifest, the online and the offline setup and the list of checksums.
/// The work is done in a folder beside `out`, which is either complete at the end or as it was.
Failure MakePack(const PackJob& job, const PackPlan& plan, std::vector<PackedFile>& files);
