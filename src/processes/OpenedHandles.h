#pragma once

#include <windows.h>

#include <string>

/// The open file handles of all processes, from the system-wide handle table. The question for the
/// name of another process's handle can hang, so it is asked on the enumeration thread, which is
/// killed and replaced when it does not answer within 100 ms, or 2 s more where it has not even
/// begun; an entry that it took is then lost. The walk ends early when there is no thread, or ten
/// in a row take no entry.

#pragma pack(push, 1)
/// Answer of NtQuerySystemInformation to its class 16 (SystemHandleInformation), as a 32-bit
/// process sees it.
struct SystemHandleEntry {
    DWORD processId;
    BYTE objectType;
    BYTE flags;
    WORD handle;
    DWORD object;
    DWORD grantedAccess;
};
struct SystemHandleTable {
    DWORD handleCount;
    SystemHandleEntry entries[1];
};
#pragma pack(pop)
static_assert(sizeof(SystemHandleEntry) == 16);

/// What the walk and the enumeration thread share; they take turns through the two events. It lies
/// on the stack of EnumerateOpenedFiles.
struct HandleQuery {
    const SystemHandleTable* table;
    wchar_t* nameBuffer;
    HANDLE requestEvent;
    HANDLE replyEvent;
    /// The thread got a name for the entry.
    bool found;
    /// That name: nameBuffer, or the place of those that do not fit there.
    const wchar_t* name;
};

/// Index of the entry to take next, advanced by the thread before it touches an entry, so that one
/// on which it hangs is not tried again. The walk reads it between a reply and the next request.
extern volatile DWORD nextHandleIndex;

/// Appends a line for each open file whose path begins with `folder`, which is in lower case, or
/// with its long form.
void EnumerateOpenedFiles(const std::wstring& folder, std::wstring& listing);

/// Procedure of the enumeration thread; `query` is a HandleQuery.
DWORD WINAPI HandleQueryThreadProc(void* query);
