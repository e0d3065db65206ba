// The agent that tests load into a program under test: puts itself between the program and some of
// its imports, as the table of the process says, so that calls fail or wait which cannot be made to
// for real. The program's file stays what is shipped.
#include <windows.h>
#include <shellapi.h>
#include <strsafe.h>
#include <string.h>
#include <wchar.h>

#include "support/ImportSlot.h"
#include "support/InterceptionTable.h"

namespace {

constexpr size_t textLength = 1200;
// Longer than any test lets a program wait, so that a forgotten one does not stay for ever.
constexpr DWORD longestHold = 120000;

InterceptionTable* table;

const wchar_t* OrEmpty(DWORD argument) {
    return argument == 0 ? L"" : reinterpret_cast<const wchar_t*>(argument);
}

void DescribeFileOperation(const SHFILEOPSTRUCTW& operation, wchar_t* text) {
    const wchar_t* verb = operation.wFunc == FO_DELETE ? L"delete"
                          : operation.wFunc == FO_MOVE ? L"move"
                                                       : L"copy";
    StringCchPrintfW(text, textLength, L"%s %s > %s", verb, operation.pFrom,
                     operation.pTo == nullptr ? L"" : operation.pTo);
}

void DescribeCall(CallText kind, const DWORD* arguments, wchar_t* text) {
    switch (kind) {
        case CallText::none:
            *text = L'\0';
            break;
        case CallText::firstArgument:
            StringCchCopyW(text, textLength, OrEmpty(arguments[0]));
            break;
        case CallText::secondArgument:
            StringCchCopyW(text, textLength, OrEmpty(arguments[1]));
            break;
        case CallText::bothArguments:
            StringCchPrintfW(text, textLength, L"%s > %s", OrEmpty(arguments[0]),
                             OrEmpty(arguments[1]));
            break;
        case CallText::fileOperation:
            DescribeFileOperation(*reinterpret_cast<const SHFILEOPSTRUCTW*>(arguments[0]), text);
            break;
        case CallText::firstNumber:
            StringCchPrintfW(text, textLength, L"%lu", arguments[0]);
            break;
        case CallText::secondNumber:
            StringCchPrintfW(text, textLength, L"%lu", arguments[1]);
            break;
    }
}

HANDLE OpenRowEvent(const wchar_t* format, LONG row) {
    wchar_t name[80];
    StringCchPrintfW(name, 80, format, GetCurrentProcessId(), row);
    return OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, name);
}

void HoldCall(const InterceptionRow& row) {
    const LONG index = static_cast<LONG>(&row - table->rows);
    const HANDLE reached = OpenRowEvent(interceptionReachedName, index);
    const HANDLE go = OpenRowEvent(interceptionGoName, index);
    SetEvent(reached);
    WaitForSingleObject(go, longestHold);
    CloseHandle(reached);
    CloseHandle(go);
}

/// Called at the entry of an intercepted call, with the stack as the call left it: the return
/// address, then the arguments. True: the call ends here, with the row's result.
BOOL __stdcall EndsHere(InterceptionRow* row, const DWORD* stack) {
    const DWORD lastError = GetLastError();
    wchar_t text[textLength];
    DescribeCall(row->textKind, stack + 1, text);
    bool ends = false;
    // Wine's wcsstr finds nothing in an empty text, not even another one.
    if (*row->text == L'\0' || wcsstr(text, row->text) != nullptr) {
        const LONG call = InterlockedIncrement(&row->calls);
        const bool isMeant = call >= row->firstCall && call <= row->lastCall;
        ends = isMeant && !row->holds;
        if (isMeant && row->holds) {
            HoldCall(*row);
        }
    }
    SetLastError(ends ? row->lastError : lastError);
    return ends;
}

class CodeWriter {
  public:
    explicit CodeWriter(BYTE* start) : next(start) {}

    CodeWriter& Bytes(const char* bytes, size_t count) {
        memcpy(next, bytes, count);
        next += count;
        return *this;
    }

    template <typename Value>
    CodeWriter& Number(Value value) {
        memcpy(next, &value, sizeof value);
        next += sizeof value;
        return *this;
    }

  private:
    BYTE* next;
};

// x86, stdcall: asks EndsHere and either returns to the caller or jumps to the function itself.
void WriteGate(BYTE* code, InterceptionRow& row, FARPROC original) {
    CodeWriter(code)
        .Bytes("\x54\x68", 2)  // push esp; push row
        .Number(&row)
        .Bytes("\xB8", 1)  // mov eax, EndsHere
        .Number(&EndsHere)
        .Bytes("\xFF\xD0\x85\xC0\x74\x08\xB8", 7)  // call eax; test eax, eax; jz +8; mov eax, ...
        .Number(row.result)
        .Bytes("\xC2", 1)  // ret
        .Number(static_cast<WORD>(row.argumentCount * sizeof(DWORD)))
        .Bytes("\xB8", 1)  // mov eax, original
        .Number(original)
        .Bytes("\xFF\xE0", 2);  // jmp eax
}

void PutInForce(InterceptionRow& row, BYTE* code) {
    FARPROC* slot = FindImportSlot(nullptr, row.function);
    if (slot == nullptr) {
        return;
    }
    WriteGate(code, row, *slot);
    WriteImportSlot(slot, reinterpret_cast<FARPROC>(code));
    ++table->patched;
}

void Start() {
    wchar_t name[80];
    StringCchPrintfW(name, 80, interceptionTableName, GetCurrentProcessId());
    const HANDLE mapping = OpenFileMappingW(FILE_MAP_WRITE, FALSE, name);
    table = static_cast<InterceptionTable*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
    constexpr size_t gateSize = 64;
    auto* code = static_cast<BYTE*>(VirtualAlloc(nullptr, InterceptionTable::capacity * gateSize,
                                                 MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    for (LONG i = 0; table != nullptr && i < table->count; ++i) {
        PutInForce(table->rows[i], code + i * gateSize);
    }
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        Start();
    }
    return TRUE;
}
