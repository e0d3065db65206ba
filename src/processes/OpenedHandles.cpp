#include "processes/OpenedHandles.h"

#include <vector>

#include "base/Log.h"
#include "base/PathBuffers.h"
#include "processes/OpenedFileLines.h"

volatile DWORD nextHandleIndex = 0;

namespace {

using NtQuerySystemInformationCall = LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*);

constexpr ULONG handleInformationClass = 16;
constexpr DWORD nameLimit = MAX_PATH;
constexpr DWORD nameBufferLength = 264;
// The longest path that the system handles, with its end.
constexpr DWORD longNameLimit = 32768;
constexpr DWORD replyTimeout = 100;
constexpr DWORD endTimeout = 1000;
constexpr DWORD beginTimeout = 2000;
constexpr int idleThreadLimit = 10;
// "\\?\"
constexpr std::size_t namePrefixLength = 4;

// For names that do not fit the walk's own buffer. One walk and one thread at a time use it. Made
// by the first walk, since it would lie in the executable, and kept.
std::wstring& longName = *new std::wstring;

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

// False when the file has no name.
bool ReadName(HANDLE file, HandleQuery& query) {
    query.name = query.nameBuffer;
    DWORD length = GetFinalPathNameByHandleW(file, query.nameBuffer, nameLimit, 0);
    if (length >= nameLimit) {
        // The call has written nothing, and the buffer still holds an earlier entry's name.
        query.name = longName.data();
        length = GetFinalPathNameByHandleW(file, longName.data(), longNameLimit, 0);
    }
    return length != 0 && length < longNameLimit;
}

void QueryName(const SystemHandleEntry& entry, HandleQuery& query) {
    const HANDLE working = Duplicate(entry);
    query.found = GetFileType(working) == FILE_TYPE_DISK && ReadName(working, query);
    if (working != nullptr && working != reinterpret_cast<HANDLE>(ULONG_PTR{entry.handle})) {
        CloseHandle(working);
    }
}

// What is looked for, and where it is told.
struct Listing {
    const std::wstring& folder;
    const std::wstring& longFolder;
    std::wstring& lines;
};

bool BeginsWith(const std::wstring& text, const std::wstring& start) {
    return text.compare(0, start.size(), start) == 0;
}

void AppendAnswer(const HandleQuery& query, const Listing& listing) {
    if (!query.found) {
        return;
    }
    const DWORD owner = query.table->entries[nextHandleIndex - 1].processId;
    const std::wstring prefixed = query.name;
    if (prefixed.size() < namePrefixLength) {
        return;
    }
    const std::wstring name = ToLowerCase(prefixed.substr(namePrefixLength));
    if (BeginsWith(name, listing.folder) || BeginsWith(name, listing.longFolder)) {
        listing.lines += FormatOpenedFileLine(owner, false, name);
    }
}

// The call only asks for the thread's end, and until then it still uses what it shares with the
// walk.
void KillThread(HANDLE thread) {
    // Ended inside the heap it would take the lock along.
    HeapLock(GetProcessHeap());
    TerminateThread(thread, 0);
    HeapUnlock(GetProcessHeap());
    WaitForSingleObject(thread, endTimeout);
    CloseHandle(thread);
}

// Asks for one entry. Kills the thread, which becomes null, when there is no answer.
void AskNextEntry(const HandleQuery& query, HANDLE& thread, const Listing& listing) {
    const DWORD index = nextHandleIndex;
    ResetEvent(query.replyEvent);
    SetEvent(query.requestEvent);
    DWORD waited = WaitForSingleObject(query.replyEvent, replyTimeout);
    if (waited == WAIT_TIMEOUT && nextHandleIndex == index) {
        // The thread is still being made, which holds the loader's lock.
        waited = WaitForSingleObject(query.replyEvent, beginTimeout);
    }
    if (waited == WAIT_TIMEOUT) {
        findProcessesLog.Warn(L"EnumerateOpenedFiles: created thread hang, recreate thread");
        KillThread(thread);
        thread = nullptr;
        // A thread that did not even begin left the request for its successor, which would then run
        // one entry ahead.
        ResetEvent(query.requestEvent);
        return;
    }
    AppendAnswer(query, listing);
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

void WalkTable(HandleQuery& query, const Listing& listing) {
    HANDLE thread = nullptr;
    const bool hasEvents = query.requestEvent != nullptr && query.replyEvent != nullptr;
    // Threads in a row that took no entry.
    int idleThreads = 0;
    while (nextHandleIndex < query.table->handleCount) {
        if (thread == nullptr && hasEvents && idleThreads < idleThreadLimit) {
            thread = CreateThread(nullptr, 0, HandleQueryThreadProc, &query, 0, nullptr);
        }
        if (thread == nullptr) {
            const std::wstring error = LastErrorText();
            findProcessesLog.Error(L"EnumerateOpenedFiles: error of CreateThread: " + error);
            return;
        }
        const DWORD index = nextHandleIndex;
        AskNextEntry(query, thread, listing);
        idleThreads = nextHandleIndex == index ? idleThreads + 1 : 0;
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
    longName.resize(longNameLimit);
    wchar_t nameBuffer[nameBufferLength] = L"";
    HandleQuery query{};
    query.table = reinterpret_cast<const SystemHandleTable*>(buffer.data());
    query.nameBuffer = nameBuffer;
    query.requestEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    query.replyEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    WalkTable(query, {folder, ToLowerCase(PathForm(GetLongPathNameW, folder)), listing});
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
