#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Findings.h"

/// A file or folder of an application.
struct AppEntry {
    std::wstring path;  // relative, "/" between folders
    bool isFolder = false;
    bool isLink = false;
    std::uint64_t bytes = 0;
    std::uint64_t packed = 0;   // about what is left of it in an archive
    std::uint64_t written = 0;  // 100 ns units since 1601, UTC
};

/// What stands behind the last "/".
std::wstring LastName(const std::wstring& path);

/// Whether two paths are the same to Windows.
bool IsSamePath(const std::wstring& a, const std::wstring& b);

/// Checks what an application's archive may hold: names that Windows and its unpackers take, no
/// links, no two entries for one file, paths that fit when they are installed, and a size that an
/// offline setup can have.
///
/// The longest places of a file are a user's install folder, with a user name of 20 characters,
/// while a version is replaced, and the unpacking folder:
///   C:\Users\<20>\AppData\Local\<displayName>\<version>.BKP\<path>
///   C:\Users\<20>\AppData\Local\Temp\<displayName>.TEMP\<path>
/// A file's path may have 259 characters there, a folder's 247 (MAX_PATH of the platform's
/// documentation, CreateDirectory).
void CheckAppEntries(const std::vector<AppEntry>& entries, const std::wstring& displayName,
                     const std::string& version, Findings& findings);
