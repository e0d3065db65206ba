#pragma once

#include <cstdint>
#include <string>

/// Writes the checksum of an executable into its header: the sum of its 16-bit words, carries added
/// back, the field itself counted as zero, plus the file's length (IMAGE_OPTIONAL_HEADER.CheckSum
/// of the platform's documentation). Reads the file in pieces, so its size does not matter.
/// Returns 0 or the system's error code, ERROR_BAD_EXE_FORMAT when it is no executable.
std::uint32_t WritePeChecksum(const std::wstring& path);
