#pragma once

/// What the driver of a test and the agent in the program under test share: a named file mapping
/// that the driver fills before the program's first instruction.

#include <windows.h>

struct InterceptionRow {
    char function[48];
    wchar_t text[200];      // calls whose text holds this, all when empty
    wchar_t textFormat[8];  // makes a call's text of two arguments, the first of them this one:
    LONG textArgument;
    LONG argumentCount;
    LONG firstCall;  // counted among those that fit, from 1
    LONG lastCall;
    LONG holds;    // wait for the driver, then go on; otherwise: return `result` with `lastError`
    DWORD result;  // what the call returns
    DWORD lastError;
    volatile LONG calls;     // that fitted so far
    volatile LONG held;      // calls that came to wait so far
    volatile LONG released;  // how many of them may go on
};

/// As textArgument: "copy from > to" of SHFileOperationW; or "move", "delete".
constexpr LONG fileOperation = -1;

struct InterceptionTable {
    static constexpr LONG capacity = 16;
    LONG count;
    volatile LONG patched;  // rows that the agent has put in force
    InterceptionRow rows[capacity];
};

/// Format with a process id: the mapping.
constexpr wchar_t interceptionTableName[] = L"SetupTest.interceptions.%lu";
