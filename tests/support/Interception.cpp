#include "support/Interception.h"

#include <strsafe.h>
#include <string.h>

#include <gtest/gtest.h>

#include "support/EntryPoint.h"

namespace {

constexpr DWORD bound = 20000;

// How a function tells its caller that it failed.
enum class Failure { zero, minusOne, theError };

struct KnownFunction {
    const char* name;
    LONG argumentCount;
    CallText textKind;
    Failure failure;
};

constexpr KnownFunction knownFunctions[] = {
    {"CopyFileW", 3, CallText::bothArguments, Failure::zero},
    {"CreateDirectoryW", 2, CallText::firstArgument, Failure::zero},
    {"CreateFileW", 7, CallText::firstArgument, Failure::minusOne},
    {"CreateProcessW", 10, CallText::secondArgument, Failure::zero},
    {"CreateThread", 6, CallText::none, Failure::zero},
    {"CreateWindowExW", 12, CallText::none, Failure::zero},
    {"GetTempPathW", 2, CallText::none, Failure::zero},
    {"LoadResource", 2, CallText::none, Failure::zero},
    {"MoveFileExW", 3, CallText::bothArguments, Failure::zero},
    {"RegCreateKeyExW", 9, CallText::secondArgument, Failure::theError},
    {"RegSetValueExW", 6, CallText::secondArgument, Failure::theError},
    {"SHFileOperationW", 1, CallText::fileOperation, Failure::theError},
    {"SHGetFolderPathW", 5, CallText::none, Failure::minusOne},
    {"SetCurrentProcessExplicitAppUserModelID", 1, CallText::firstArgument, Failure::minusOne},
    {"ShellExecuteExW", 1, CallText::none, Failure::zero},
    {"Sleep", 1, CallText::firstNumber, Failure::zero},
    {"WaitForSingleObject", 2, CallText::secondNumber, Failure::minusOne},
    {"WriteFile", 5, CallText::none, Failure::zero},
};

InterceptionRow MakeRow(const CallChoice& choice) {
    InterceptionRow row{};
    for (const KnownFunction& known : knownFunctions) {
        if (strcmp(known.name, choice.function) == 0) {
            row.textKind = known.textKind;
            row.argumentCount = known.argumentCount;
            row.result = known.failure == Failure::zero ? 0 : ~0U;
        }
    }
    EXPECT_NE(row.argumentCount, 0) << choice.function << " is not in the table of functions";
    StringCchCopyA(row.function, sizeof row.function, choice.function);
    StringCchCopyW(row.text, sizeof row.text / sizeof *row.text, choice.text.c_str());
    row.firstCall = choice.firstCall;
    row.lastCall =
        choice.callCount == everyCall ? everyCall : choice.firstCall + (choice.callCount - 1);
    return row;
}

bool ReturnsTheError(const char* function) {
    for (const KnownFunction& known : knownFunctions) {
        if (strcmp(known.name, function) == 0) {
            return known.failure == Failure::theError;
        }
    }
    return false;
}

HANDLE MakeRowEvent(const wchar_t* format, DWORD processId, LONG row) {
    wchar_t name[80];
    StringCchPrintfW(name, 80, format, processId, row);
    return CreateEventW(nullptr, FALSE, FALSE, name);
}

std::wstring AgentPath() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring own = path;
    return own.substr(0, own.rfind(L'\\') + 1) + L"interception_agent.dll";
}

}  // namespace

InterceptionRow FailCall(const CallChoice& choice, DWORD error) {
    InterceptionRow row = MakeRow(choice);
    row.lastError = error;
    if (ReturnsTheError(choice.function)) {
        row.result = error;
    }
    return row;
}

InterceptionRow SkipCall(const CallChoice& choice) {
    InterceptionRow row = MakeRow(choice);
    row.result = 0;
    return row;
}

InterceptionRow HoldCall(const CallChoice& choice) {
    InterceptionRow row = MakeRow(choice);
    row.holds = TRUE;
    return row;
}

InterceptionRow CountCall(CallChoice choice) {
    choice.firstCall = everyCall;
    choice.callCount = 1;
    return HoldCall(choice);
}

Interceptions::~Interceptions() {
    for (std::size_t i = 0; i < goEvents.size(); ++i) {
        SetEvent(goEvents[i]);
        CloseHandle(goEvents[i]);
        CloseHandle(reachedEvents[i]);
    }
    if (table != nullptr) {
        UnmapViewOfFile(table);
    }
    if (mapping != nullptr) {
        CloseHandle(mapping);
    }
}

bool Interceptions::Share(DWORD processId) {
    wchar_t name[80];
    StringCchPrintfW(name, 80, interceptionTableName, processId);
    mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                 sizeof(InterceptionTable), name);
    table = static_cast<InterceptionTable*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
    if (table == nullptr || rows.size() > InterceptionTable::capacity) {
        return false;
    }
    table->count = static_cast<LONG>(rows.size());
    for (LONG i = 0; i < table->count; ++i) {
        table->rows[i] = rows[i];
        reachedEvents.push_back(MakeRowEvent(interceptionReachedName, processId, i));
        goEvents.push_back(MakeRowEvent(interceptionGoName, processId, i));
    }
    return true;
}

bool Interceptions::Attach(const PROCESS_INFORMATION& suspended) {
    process = suspended.hProcess;
    bool done = true;
    if (!rows.empty()) {
        done = Share(suspended.dwProcessId) && LoadLibraryBeforeEntry(suspended, AgentPath()) &&
               table->patched == table->count;
        EXPECT_TRUE(done) << "the program's calls could not be intercepted";
    }
    ResumeThread(suspended.hThread);
    return done;
}

LONG Interceptions::Calls(std::size_t index) const {
    return table == nullptr ? 0 : table->rows[index].calls;
}

bool Interceptions::WaitUntilHeld(std::size_t index) {
    const HANDLE handles[] = {reachedEvents[index], process};
    return WaitForMultipleObjects(2, handles, FALSE, bound) == WAIT_OBJECT_0;
}

void Interceptions::Release(std::size_t index) {
    SetEvent(goEvents[index]);
}
