#pragma once

#include <cstdint>
#include <string>

/// Makes a file the data of an executable's archive resource, which must be there with a
/// placeholder for data. The bytes go into a section of their own behind the others, copied in
/// pieces: the system's resource update would hold them in memory twice and take five times as
/// long. Returns 0 or the system's error code, ERROR_BAD_EXE_FORMAT when the executable has no such
/// resource or no room for a section. The executable is of no use after a failure.
std::uint32_t AppendArchive(const std::wstring& executable, const std::wstring& archive);
