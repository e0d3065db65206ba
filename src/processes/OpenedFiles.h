#pragma once

#include <windows.h>

#include <string>
#include <unordered_map>

/// Who holds the files of a folder: every loaded module and every open file handle of any process
/// under it. One listing at a time.

/// A line for each hit, modules first; empty when nothing was found or could be asked. Blocks as
/// long as the walk over all handles of the machine takes. Failures only shorten the listing.
std::wstring GetOpenedFilesListing(const std::wstring& folder);

struct ProcessInfo {
    std::wstring name;
    /// May be empty.
    std::wstring fullPath;
};

/// Lets this process open others', once in its life. The walk goes on without.
bool EnableDebugPrivilege();

/// Rebuilds the cache of processes that the lines are made from.
void BuildProcessCache();

/// The cache, by process id: rebuilt by each listing, and grown by FormatOpenedFileLine.
extern std::unordered_map<DWORD, ProcessInfo>& processCache;

/// Appends a line for each loaded module whose path contains `folder`, which is in lower case.
void EnumerateLoadedModules(const std::wstring& folder, std::wstring& listing);

/// "[980] tool.exe (C:\Tool\tool.exe) [c:\data.bin]" and a line feed.
std::wstring FormatOpenedFileLine(DWORD processId, bool isModule, const std::wstring& path);
