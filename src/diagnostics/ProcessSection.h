#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// One process in the report's process section.
struct ProcessEntry {
    /// Empty when the process cannot be opened.
    std::wstring fullPath;
    std::wstring exeName;
    DWORD pid = 0;
    DWORD parentPid = 0;
};

/// All processes of the machine as a tree, a line each.
std::wstring GetProcessTree();

/// The same for the given processes. Children stand two blanks deeper than their parent; a row of
/// siblings of one name is one line, their children are shown all the same.
std::wstring FormatProcessTree(std::vector<ProcessEntry> processes);
