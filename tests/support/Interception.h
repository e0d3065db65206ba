#pragma once

/// Starts a program with some of its calls made to fail or to wait, from its first instruction on.
/// For what cannot be produced for real; the program's file is the one that is shipped.

#include <windows.h>

#include <climits>
#include <string>
#include <vector>

/// What the test and the agent in the program under test share: a named file mapping that the test
/// fills before the program's first instruction.
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

constexpr LONG everyCall = LONG_MAX;

/// Which calls: those of this function whose text holds `text` (numbers: is), from firstCall on,
/// callCount of them. What a call's text is stands in the table in Interception.cpp: for file
/// functions the paths ("from > to"), for SHFileOperationW "move from > to", for RegSetValueExW the
/// value's name, for CreateProcessW the command line, for Sleep and WaitForSingleObject the
/// milliseconds.
struct CallChoice {
    const char* function;
    std::wstring text;
    LONG firstCall = 1;
    LONG callCount = everyCall;
};

/// The calls fail with this error, as the function does it by its own rules.
InterceptionRow FailCall(const CallChoice& choice, DWORD error);
/// The calls do nothing but give this result: pauses that a test need not wait for, and questions.
InterceptionRow SkipCall(const CallChoice& choice, DWORD result = 0);
/// The calls wait for Interceptions::Release before they are carried out.
InterceptionRow HoldCall(const CallChoice& choice);
/// The calls are counted and carried out.
InterceptionRow CountCall(const CallChoice& choice);

class Interceptions {
  public:
    explicit Interceptions(const std::vector<InterceptionRow>& rows) : rows(rows) {}
    ~Interceptions();
    Interceptions(const Interceptions&) = delete;
    Interceptions& operator=(const Interceptions&) = delete;

    /// For a 32-bit process that was created suspended: has it load the agent (a library beside
    /// this program) and lets it run. A failure of the test when the agent is not in force; the
    /// process is then still there. Without rows just lets the process run.
    void Attach(const PROCESS_INFORMATION& process);

    /// Calls that fitted row `index` so far, those outside its range included. Valid after the end
    /// of the process too.
    LONG Calls(std::size_t index) const;

    /// Waits until a call of this row is held; false when the process ended before or 20 seconds
    /// went by.
    bool WaitUntilHeld(std::size_t index);
    /// Lets the held call go on.
    void Release(std::size_t index);

  private:
    std::vector<InterceptionRow> rows;
    HANDLE process = nullptr;
    HANDLE mapping = nullptr;
    InterceptionTable* table = nullptr;
};
