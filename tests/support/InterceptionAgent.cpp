// The agent that tests load into a program under test: puts itself between the program and some of
// its imports, as the table of the process says, so that calls fail or wait which cannot be made to
// for real. The program's file stays what is shipped.
#include <windows.h>
#include <shellapi.h>
#include <strsafe.h>
#include <string.h>
#include <wchar.h>

#include "preview/ImportSlot.h"
#include "support/Interception.h"

namespace {

constexpr size_t textLength = 1200;
// Longer than any test lets a program wait, so that a forgotten one does not stay for ever.
constexpr ULONGLONG longestHold = 120000;

InterceptionTable* table;

void DescribeCall(const InterceptionRow& row, const DWORD* arguments, wchar_t* text) {
    if (row.textArgument == fileOperation) {
        const auto& operation = *reinterpret_cast<const SHFILEOPSTRUCTW*>(arguments[0]);
        constexpr const wchar_t* verbs[] = {L"", L"move", L"copy", L"delete"};
        StringCchPrintfW(text, textLength, L"%s %s > %s", verbs[operation.wFunc & 3],
                         operation.pFrom, operation.pTo == nullptr ? L"" : operation.pTo);
        return;
    }
    arguments += row.textArgument;
    StringCchPrintfW(text, textLength, row.textFormat, arguments[0], arguments[1]);
}

// Numbers are compared as a whole: 100 is no part of 1000.
bool Fits(const InterceptionRow& row, const wchar_t* text) {
    // Wine's wcsstr finds nothing in an empty text, not even another one.
    return *row.text == L'\0' ||
           (wcscmp(row.textFormat, L"%lu") == 0 ? wcscmp(text, row.text) == 0
                                                : wcsstr(text, row.text) != nullptr);
}

/// Called at the entry of an intercepted call, with the stack as the call left it: the return
/// address, then the arguments. True: the call ends here, with the row's result.
BOOL __stdcall EndsHere(InterceptionRow* row, const DWORD* stack) {
    const DWORD lastError = GetLastError();
    wchar_t text[textLength];
    DescribeCall(*row, stack + 1, text);
    bool ends = false;
    if (Fits(*row, text)) {
        const LONG call = InterlockedIncrement(&row->calls);
        const bool isMeant = call >= row->firstCall && call <= row->lastCall;
        ends = isMeant && !row->holds;
        if (isMeant && row->holds) {
            const LONG number = InterlockedIncrement(&row->held);
            const ULONGLONG end = GetTickCount64() + longestHold;
            while (row->released < number && GetTickCount64() < end) {
                Sleep(5);
            }
        }
    }
    SetLastError(ends ? row->lastError : lastError);
    return ends;
}

// x86, stdcall: asks EndsHere and either returns to the caller or jumps to the function itself.
#pragma pack(push, 1)
struct Gate {
    BYTE pushStackThenRow[2] = {0x54, 0x68};
    InterceptionRow* row;
    BYTE loadAnswer = 0xB8;
    decltype(&EndsHere) answer = &EndsHere;
    BYTE callAndSkipNextTwoWhenFalse[6] = {0xFF, 0xD0, 0x85, 0xC0, 0x74, 0x08};
    BYTE loadResult = 0xB8;
    DWORD result;
    BYTE returnToCaller = 0xC2;
    WORD argumentBytes;
    BYTE loadOriginal = 0xB8;
    FARPROC original;
    BYTE jumpThere[2] = {0xFF, 0xE0};
};
#pragma pack(pop)

void PutTableInForce() {
    wchar_t name[80];
    StringCchPrintfW(name, 80, interceptionTableName, GetCurrentProcessId());
    const HANDLE mapping = OpenFileMappingW(FILE_MAP_WRITE, FALSE, name);
    table = static_cast<InterceptionTable*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
    auto* gate =
        static_cast<Gate*>(VirtualAlloc(nullptr, InterceptionTable::capacity * sizeof(Gate),
                                        MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    for (LONG i = 0; table != nullptr && i < table->count; ++i, ++gate) {
        InterceptionRow& row = table->rows[i];
        if (FARPROC* slot = FindImportSlot(row.function)) {
            *gate = {.row = &row,
                     .result = row.result,
                     .argumentBytes = static_cast<WORD>(row.argumentCount * sizeof(DWORD)),
                     .original = *slot};
            WriteImportSlot(slot, reinterpret_cast<FARPROC>(gate));
            InterlockedIncrement(&table->patched);
        }
    }
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        PutTableInForce();
    }
    return TRUE;
}
