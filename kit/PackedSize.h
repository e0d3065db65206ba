#pragma once

#include <windows.h>

#include <cstdint>

/// About how many of the `bytes` of an open file are left when it is packed, judged by a few
/// samples of it: 10 ms at most for a file of any size. Moves the file's position to its start.
std::uint64_t EstimatePacked(HANDLE file, std::uint64_t bytes);
