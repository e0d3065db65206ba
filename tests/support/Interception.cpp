#include "support/Interception.h"

#include <strsafe.h>
#include <string.h>

#include <algorithm>

#include <gtest/gtest.h>

#include "driver/Waiting.h"

namespace {

// A function that reports its error by its result.
constexpr DWORD theError = 0x1234;
constexpr DWORD minusOne = ~0U;

struct KnownFunction {
    const char* name;
    LONG argumentCount;
    LONG textArgument;
    const wchar_t* textFormat;
    DWORD failure;
};

constexpr KnownFunction knownFunctions[] = {
    {"CopyFileW", 3, 0, L"%s > %s", 0},
    {"CreateDirectoryW", 2, 0, L"%s", 0},
    {"CreateFileW", 7, 0, L"%s", minusOne},
    {"CreateProcessW", 10, 1, L"%s", 0},
    {"CreateThread", 6, 0, L"", 0},
    {"CreateWindowExW", 12, 0, L"", 0},
    {"GetUserDefaultUILanguage", 0, 0, L"", 0},
    {"MoveFileExW", 3, 0, L"%s > %s", 0},
    {"RegCreateKeyExW", 9, 1, L"%s", theError},
    {"RegSetValueExW", 6, 1, L"%s", theError},
    {"SHFileOperationW", 1, fileOperation, L"", theError},
    {"SHGetFolderPathW", 5, 0, L"", minusOne},
    {"SetCurrentProcessExplicitAppUserModelID", 1, 0, L"%s", minusOne},
    {"ShellExecuteExW", 1, 0, L"", 0},
    {"Sleep", 1, 0, L"%lu", 0},
    {"WaitForSingleObject", 2, 1, L"%lu", minusOne},
    {"WriteFile", 5, 0, L"", 0},
};

InterceptionRow MakeRow(const CallChoice& choice) {
    InterceptionRow row{};
    const auto* known = std::ranges::find_if(knownFunctions, [&](const KnownFunction& entry) {
        return strcmp(entry.name, choice.function) == 0;
    });
    if (known == std::end(knownFunctions)) {
        ADD_FAILURE() << choice.function << " is not in the table of functions";
        return row;
    }
    StringCchCopyA(row.function, std::size(row.function), choice.function);
    StringCchCopyW(row.text, std::size(row.text), choice.text.c_str());
    StringCchCopyW(row.textFormat, std::size(row.textFormat), known->textFormat);
    row.textArgument = known->textArgument;
    row.argumentCount = known->argumentCount;
    row.result = known->failure;
    row.firstCall = choice.firstCall;
    row.lastCall =
        choice.callCount == everyCall ? everyCall : choice.firstCall + (choice.callCount - 1);
    return row;
}

// The process's first thread carries it out when the imports are bound and before it comes to the
// program's own code. The kernel's library lies at the same address in all processes.
bool QueueLoadOfAgent(const PROCESS_INFORMATION& suspended) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    StringCchCopyW(wcsrchr(path, L'\\') + 1, 30, L"interception_agent.dll");
    void* const copy = VirtualAllocEx(suspended.hProcess, nullptr, sizeof path,
                                      MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    return WriteProcessMemory(suspended.hProcess, copy, path, sizeof path, nullptr) &&
           QueueUserAPC(reinterpret_cast<PAPCFUNC>(&LoadLibraryW), suspended.hThread,
                        reinterpret_cast<ULONG_PTR>(copy));
}

}  // namespace

InterceptionRow FailCall(const CallChoice& choice, DWORD error) {
    InterceptionRow row = MakeRow(choice);
    row.lastError = error;
    row.result = row.result == theError ? error : row.result;
    return row;
}

InterceptionRow SkipCall(const CallChoice& choice, DWORD result) {
    InterceptionRow row = MakeRow(choice);
    row.result = result;
    return row;
}

InterceptionRow HoldCall(const CallChoice& choice) {
    InterceptionRow row = MakeRow(choice);
    row.holds = TRUE;
    return row;
}

InterceptionRow CountCall(const CallChoice& choice) {
    return HoldCall({choice.function, choice.text, everyCall, 1});
}

Interceptions::~Interceptions() {
    if (table != nullptr) {
        for (InterceptionRow& row : table->rows) {
            row.released = everyCall;
        }
        UnmapViewOfFile(table);
        CloseHandle(mapping);
    }
}

void Interceptions::Attach(const PROCESS_INFORMATION& suspended) {
    process = suspended.hProcess;
    if (!rows.empty()) {
        wchar_t name[80];
        StringCchPrintfW(name, 80, interceptionTableName, suspended.dwProcessId);
        mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                     sizeof *table, name);
        table = static_cast<InterceptionTable*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
        ASSERT_TRUE(table != nullptr && rows.size() <= InterceptionTable::capacity);
        table->count = static_cast<LONG>(rows.size());
        std::ranges::copy(rows, table->rows);
        EXPECT_TRUE(QueueLoadOfAgent(suspended));
    }
    ResumeThread(suspended.hThread);
    EXPECT_TRUE(rows.empty() ||
                WaitUntil([&] { return table->patched == table->count; }, 20000, process))
        << "the program's calls could not be intercepted";
}

LONG Interceptions::Calls(std::size_t index) const {
    return table == nullptr ? 0 : table->rows[index].calls;
}

bool Interceptions::WaitUntilHeld(std::size_t index) {
    const InterceptionRow& row = table->rows[index];
    return WaitUntil([&] { return row.held > row.released; }, 20000, process);
}

void Interceptions::Release(std::size_t index) {
    InterlockedIncrement(&table->rows[index].released);
}
