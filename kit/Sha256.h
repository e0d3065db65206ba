#pragma once

#include <cstdint>
#include <string>

/// The SHA-256 of a whole file as 64 lower-case hexadecimal digits. Returns 0 or the system's error
/// code, with `hex` empty.
std::uint32_t HashFile(const std::wstring& path, std::string& hex);
