#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Files.h"

/// An executable for whatever processor, open, as its headers tell it ("PE Format" of the
/// platform's documentation). What stands in the headers behind the fields that all processors
/// share is right for those of 32 bits alone.
struct PeFile {
    File file;
    DWORD place = 0;  // of `headers` in the file
    IMAGE_NT_HEADERS32 headers = {};
    DWORD tablePlace = 0;  // of `sections`
    std::vector<IMAGE_SECTION_HEADER> sections;
};

/// Opens it for `access`, GENERIC_READ and maybe GENERIC_WRITE, of which the second lets nobody
/// else have it. Returns 0 or the system's error code, ERROR_BAD_EXE_FORMAT when it is no
/// executable.
std::uint32_t OpenPeFile(const std::wstring& path, DWORD access, PeFile& exe);

/// Reads and writes a whole stretch of a file. Return 0 or the system's error code,
/// ERROR_BAD_EXE_FORMAT when the file ends before.
std::uint32_t ReadAt(const File& file, DWORD place, void* data, std::size_t length);
std::uint32_t WriteAt(const File& file, DWORD place, const void* data, std::size_t length);

/// The kind of processor a program is for (IMAGE_FILE_MACHINE_...); 0 when the file is no program
/// or cannot be read.
std::uint16_t ReadMachine(const std::wstring& path);

/// Writes the checksum of an executable into its header: the sum of its 16-bit words, carries added
/// back, the field itself counted as zero, plus the file's length (IMAGE_OPTIONAL_HEADER.CheckSum).
/// Reads the file in pieces, so its size does not matter. Returns as OpenPeFile does.
std::uint32_t WritePeChecksum(const std::wstring& path);
