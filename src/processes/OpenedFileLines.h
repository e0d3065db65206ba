#pragma once

#include <windows.h>

#include <string>
#include <unordered_map>

/// The lines of the listing of opened files, and the view of the processes that they are made from.

struct ProcessInfo {
    std::wstring name;
    /// May be empty.
    std::wstring fullPath;
};

/// By process id: rebuilt by each listing, and grown by FormatOpenedFileLine. Used by one listing
/// at a time, on its thread.
extern std::unordered_map<DWORD, ProcessInfo>& processCache;

void BuildProcessCache();

/// "[980] tool.exe (C:\Tool\tool.exe) [c:\data.bin]" and a line feed.
std::wstring FormatOpenedFileLine(DWORD processId, bool isModule, const std::wstring& path);

/// The form in which the listing compares and shows paths.
std::wstring ToLowerCase(std::wstring text);
