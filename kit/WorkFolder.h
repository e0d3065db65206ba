#pragma once

#include <cstdint>
#include <string>

/// A folder of this process's own for what is not finished yet.
struct WorkFolder {
    std::wstring path;
    void* lock = nullptr;
};

/// Makes PLACE.N.tmp beside `place`, N being the first number that is free, and holds a lock in it
/// as long as the process lives. First removes those beside it whose process ended without doing
/// so; those of others that are at work stay. Returns 0 or the system's error code.
std::uint32_t OpenWorkFolder(const std::wstring& place, WorkFolder& folder);

/// Removes the folder with all it holds, as far as that can be done.
void CloseWorkFolder(const WorkFolder& folder);
