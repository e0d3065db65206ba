#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Failure.h"

/// An archive may not reach this many bytes: an executable that holds it could not be loaded.
constexpr std::uint64_t archiveLimit = 0x80000000;  // 2 GiB
/// Entries that an archive can have without the extensions for large ones.
constexpr std::size_t mostEntries = 0xFFFE;

struct ZipItem {
    std::string name;       // UTF-8, relative, forward slashes; a folder's ends with one
    std::wstring source;    // the file that it is made of; not looked at for a folder
    std::uint64_t written;  // when it was last written: 100 ns units since 1601, UTC
};

/// Writes a zip archive (PKWARE's APPNOTE.TXT) of these items, sorted by name: deflated where that
/// saves something, names marked as UTF-8, times in UTC, no extensions. The same items give the
/// same bytes. After a failure the file is of no use.
Failure WriteZip(const std::wstring& path, std::vector<ZipItem> items);
