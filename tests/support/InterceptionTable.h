#pragma once

/// What the driver of a test and the agent in the program under test share: a named file mapping
/// that the driver fills before the program's first instruction, and two events for each held call.

#include <windows.h>

/// What a call is told by, apart from its function's name.
enum class CallText : LONG {
    none,
    firstArgument,   // a wide text
    secondArgument,  // a wide text
    bothArguments,   // "first > second"
    fileOperation,   // "copy from > to" of SHFileOperationW; or "move", "delete"
    firstNumber,     // in decimal
    secondNumber,    // in decimal
};

struct InterceptionRow {
    char function[48];
    wchar_t text[200];  // calls whose text holds this, all when empty
    CallText textKind;
    LONG argumentCount;
    LONG firstCall;  // counted among those that fit, from 1
    LONG lastCall;
    LONG holds;    // wait for the driver, then go on; otherwise: return `result` with `lastError`
    DWORD result;  // what the call returns
    DWORD lastError;
    LONG calls;  // that fitted so far
};

struct InterceptionTable {
    static constexpr LONG capacity = 16;
    LONG count;
    LONG patched;  // rows that the agent has put in force
    InterceptionRow rows[capacity];
};

/// Formats with a process id: the mapping.
constexpr wchar_t interceptionTableName[] = L"SetupTest.interceptions.%lu";

/// Format with a process id and the row's index: "reached" is set by the agent when a call is held,
/// "go" by the driver. Both reset themselves.
constexpr wchar_t interceptionReachedName[] = L"SetupTest.interception.%lu.%ld.reached";
constexpr wchar_t interceptionGoName[] = L"SetupTest.interception.%lu.%ld.go";
