#include "processes/OpenedHandles.h"

#include <vector>

#include "diagnostics/Log.h"
#include "processes/OpenedFileLines.h"

volatile DWORD nextHandleIndex = 0;

namespace {

using NtQuerySystemInformationCall = LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*);

constexpr ULONG handleInformationClass = 16;
constexpr DWORD nameLimit = 260;
constexpr DWORD nameBufferLength = 264;
constexpr DWORD replyTimeout = 100;
constexpr DWORD endTimeout = 1000;
// "\\?\"
constexpr std::size_t namePrefixLength = 4;
constexpr wchar_t tooLongName[] = L"<name too long>";

void LogQueryFailure(const wchar_t* remark, LONG status) {
    findProcessesLog.Error(
        std::wstring(L"EnumerateOpenedFiles: some other error of NtQuerySystemInformation") +
        remark + ErrorText(static_cast<DWORD>(status)));
}

// False, after an ERROR line, when the table cannot be had.
bool ReadHandleTable(std::vector<BYTE>& buffer) {
    const auto querySystem = reinterpret_cast<NtQuerySystemInformationCall>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation"));
    if (querySystem == nullptr) {
        findProcessesLog.Error(
            L"EnumerateOpenedFiles: Getting proc of NtQuerySystemInformation failed");
        return false;
    }
    buffer.resize(20);
    ULONG needed = 0;
    LONG status = querySystem(handleInformationClass, buffer.data(), 20, &needed);
    if (status >= 0) {
        return true;
    }
    if (needed == 0) {
        LogQueryFailure(L" (needed == 0)", status);
        return false;
    }
    // Handles come and go between the two calls.
    buffer.resize(needed + 1024);
    status = querySystem(handleInformationClass, buffer.data(), static_cast<ULONG>(buffer.size()),
                         &needed);
    if (status < 0) {
        LogQueryFailure(L"", status);
        return false;
    }
    return true;
}

// A copy of the owner's handle; the bare value, as a handle of this process, when there is none.
HANDLE Duplicate(const SystemHandleEntry& entry) {
    const HANDLE value = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(entry.handle));
    HANDLE working = value;
    const HANDLE owner = OpenProcess(PROCESS_DUP_HANDLE, FALSE, entry.processId);
    if (owner != nullptr) {
        if (!DuplicateHandle(owner, value, GetCurrentProcess(), &working, 0, FALSE,
                             DUPLICATE_SAME_ACCESS)) {
            working = value;
        }
        CloseHandle(owner);
    }
    return working;
}

void QueryName(const SystemHandleEntry& entry, HandleQuery& query) {
    const HANDLE working = Duplicate(entry);
    DWORD length = 0;
    if (GetFileType(working) == FILE_TYPE_DISK) {
        length = GetFinalPathNameByHandleW(working, query.nameBuffer, nameLimit, 0);
    }
    if (working != nullptr && working != reinterpret_cast<HANDLE>(ULONG_PTR{entry.handle})) {
        CloseHandle(working);
    }
    // The call then writes nothing, and the buffer still holds an earlier entry's name.
    query.nameTooLong = length >= nameLimit;
    query.found = length != 0;
}

void AppendAnswer(const HandleQuery& query, const std::wstring& folder, std::wstring& listing) {
    if (!query.found) {
        return;
    }
    const DWORD owner = query.table->entries[nextHandleIndex - 1].processId;
    if (query.nameTooLong) {
        listing += FormatOpenedFileLine(owner, false, tooLongName);
        return;
    }
    const std::wstring prefixed = query.nameBuffer;
    if (prefixed.size() < namePrefixLength) {
        return;
    }
    const std::wstring name = ToLowerCase(prefixed.substr(namePrefixLength));
    if (name.compare(0, folder.size(), folder) == 0) {
        listing += FormatOpenedFileLine(owner, false, name);
    }
}

// The call only asks for the thread's end, and until then it still uses what it shares with the
// walk.
void KillThread(HANDLE thread) {
    TerminateThread(thread, 0);
    WaitForSingleObject(thread, endTimeout);
    CloseHandle(thread);
}

// Asks for one entry. Kills the thread, which becomes null, when there is no answer.
void AskNextEntry(const HandleQuery& query, HANDLE& thread, const std::wstring& folder,
                  std::wstring& listing) {
    ResetEvent(query.replyEvent);
    SetEvent(query.requestEvent);
    if (WaitForSingleObject(query.replyEvent, replyTimeout) == WAIT_TIMEOUT) {
        findProcessesLog.Warn(L"EnumerateOpenedFiles: created thread hang, recreate thread");
        KillThread(thread);
        thread = nullptr;
        // A thread that did not even begin left the request for its successor, which would then run
        // one entry ahead.
        ResetEvent(query.requestEvent);
        return;
    }
    AppendAnswer(query, folder, listing);
}

void EndThread(HANDLE thread) {
    if (thread == nullptr) {
        return;
    }
    // The thread uses the walk's stack.
    if (WaitForSingleObject(thread, endTimeout) == WAIT_TIMEOUT) {
        KillThread(thread);
    } else {
        CloseHandle(thread);
    }
}

void WalkTable(HandleQuery& query, const std::wstring& folder, std::wstring& listing) {
    HANDLE thread = nullptr;
    while (nextHandleIndex < query.table->handleCount) {
        if (thread == nullptr) {
            thread = CreateThread(nullptr, 0, HandleQueryThreadProc, &query, 0, nullptr);
        }
        if (thread == nullptr) {
            const std::wstring error = LastErrorText();
            findProcessesLog.Error(L"EnumerateOpenedFiles: error of CreateThread: " + error);
            return;
        }
        AskNextEntry(query, thread, folder, listing);
    }
    EndThread(thread);
}

}  // namespace

void EnumerateOpenedFiles(const std::wstring& folder, std::wstring& listing) {
    std::vector<BYTE> buffer;
    if (!ReadHandleTable(buffer)) {
        return;
    }
    nextHandleIndex = 0;
    wchar_t nameBuffer[nameBufferLength] = L"";
    HandleQuery query{};
    query.table = reinterpret_cast<const SystemHandleTable*>(buffer.data());
    query.nameBuffer = nameBuffer;
    query.requestEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    query.replyEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    WalkTable(query, folder, listing);
    CloseHandle(query.requestEvent);
    CloseHandle(query.replyEvent);
}

DWORD WINAPI HandleQueryThreadProc(void* parameter) {
    HandleQuery& query = *static_cast<HandleQuery*>(parameter);
    while (nextHandleIndex < query.table->handleCount) {
        WaitForSingleObject(query.requestEvent, INFINITE);
        ResetEvent(query.requestEvent);
        const SystemHandleEntry& entry = query.table->entries[nextHandleIndex];
        query.found = false;
        nextHandleIndex = nextHandleIndex + 1;
        QueryName(entry, query);
        SetEvent(query.replyEvent);
    }
    return 0;
}
