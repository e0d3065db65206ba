#include "support/EntryPoint.h"

#include <tlhelp32.h>
#include <winternl.h>

namespace {

constexpr DWORD bound = 20000;

template <typename Value>
bool ReadValue(HANDLE process, DWORD_PTR address, Value& value) {
    return ReadProcessMemory(process, reinterpret_cast<void*>(address), &value, sizeof value,
                             nullptr);
}

// Puts two bytes of code in place and gives back those that stood there.
bool ReplaceCode(HANDLE process, DWORD_PTR address, const BYTE (&code)[2], BYTE (&former)[2]) {
    void* place = reinterpret_cast<void*>(address);
    DWORD protection = 0;
    if (!ReadValue(process, address, former) ||
        !VirtualProtectEx(process, place, sizeof code, PAGE_EXECUTE_READWRITE, &protection)) {
        return false;
    }
    const bool written = WriteProcessMemory(process, place, code, sizeof code, nullptr);
    VirtualProtectEx(process, place, sizeof code, protection, &protection);
    FlushInstructionCache(process, place, sizeof code);
    return written;
}

DWORD_PTR FindEntryPoint(HANDLE process) {
    PROCESS_BASIC_INFORMATION basic{};
    if (NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic,
                                  nullptr) != 0) {
        return 0;
    }
    // The 32-bit PEB holds the image's base at offset 8.
    DWORD base = 0;
    IMAGE_DOS_HEADER dos{};
    IMAGE_NT_HEADERS32 nt{};
    if (!ReadValue(process, reinterpret_cast<DWORD_PTR>(basic.PebBaseAddress) + 8, base) ||
        !ReadValue(process, base, dos) || !ReadValue(process, base + dos.e_lfanew, nt)) {
        return 0;
    }
    return base + nt.OptionalHeader.AddressOfEntryPoint;
}

// The loader runs in the process's own thread: the thread is let go until it circles at the entry.
bool RunTo(const PROCESS_INFORMATION& process, DWORD_PTR address) {
    const ULONGLONG end = GetTickCount64() + bound;
    CONTEXT context{};
    do {
        ResumeThread(process.hThread);
        const bool ended = WaitForSingleObject(process.hProcess, 1) != WAIT_TIMEOUT;
        SuspendThread(process.hThread);
        context.ContextFlags = CONTEXT_CONTROL;
        if (ended || !GetThreadContext(process.hThread, &context)) {
            return false;
        }
    } while (context.Eip != address && GetTickCount64() < end);
    return context.Eip == address;
}

// System libraries need not lie at the same address in all processes.
BYTE* FindModule(DWORD processId, const wchar_t* name) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, processId);
    MODULEENTRY32W entry{};
    entry.dwSize = sizeof entry;
    BYTE* base = nullptr;
    for (BOOL more = Module32FirstW(snapshot, &entry); more && base == nullptr;
         more = Module32NextW(snapshot, &entry)) {
        if (_wcsicmp(entry.szModule, name) == 0) {
            base = entry.modBaseAddr;
        }
    }
    CloseHandle(snapshot);
    return base;
}

bool LoadLibraryInto(const PROCESS_INFORMATION& process, const std::wstring& library) {
    const HMODULE ownKernel = GetModuleHandleW(L"kernel32.dll");
    const auto offset = reinterpret_cast<BYTE*>(GetProcAddress(ownKernel, "LoadLibraryW")) -
                        reinterpret_cast<BYTE*>(ownKernel);
    BYTE* kernel = FindModule(process.dwProcessId, L"kernel32.dll");
    const SIZE_T size = (library.size() + 1) * sizeof(wchar_t);
    void* path =
        VirtualAllocEx(process.hProcess, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (kernel == nullptr || path == nullptr ||
        !WriteProcessMemory(process.hProcess, path, library.c_str(), size, nullptr)) {
        return false;
    }
    const HANDLE thread = CreateRemoteThread(
        process.hProcess, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(kernel + offset),
        path, 0, nullptr);
    DWORD module = 0;
    const bool loaded = thread != nullptr && WaitForSingleObject(thread, bound) == WAIT_OBJECT_0 &&
                        GetExitCodeThread(thread, &module) && module != 0;
    if (thread != nullptr) {
        CloseHandle(thread);
    }
    return loaded;
}

}  // namespace

bool LoadLibraryBeforeEntry(const PROCESS_INFORMATION& process, const std::wstring& library) {
    constexpr BYTE jumpToItself[2] = {0xEB, 0xFE};
    const DWORD_PTR entry = FindEntryPoint(process.hProcess);
    BYTE former[2];
    BYTE unused[2];
    return entry != 0 && ReplaceCode(process.hProcess, entry, jumpToItself, former) &&
           RunTo(process, entry) && LoadLibraryInto(process, library) &&
           ReplaceCode(process.hProcess, entry, former, unused);
}
