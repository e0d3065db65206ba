#include "processes/OpenedFiles.h"

#include <shlwapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <array>

#include "base/Bitness.h"
#include "base/PathBuffers.h"
#include "processes/OpenedFileLines.h"
#include "processes/OpenedHandles.h"

namespace {

bool EnablePrivilege(HANDLE token, const wchar_t* name) {
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookupPrivilegeValueW(nullptr, name, &privileges.Privileges[0].Luid)) {
        return false;
    }
    AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    // The call succeeds also when it could not assign the privilege.
    return GetLastError() == ERROR_SUCCESS;
}

// The ways to write the folder's path, in lower case.
using FolderForms = std::array<std::wstring, 3>;

bool ContainsAny(const std::wstring& text, const FolderForms& forms) {
    return std::any_of(forms.begin(), forms.end(), [&text](const std::wstring& form) {
        return text.find(form) != std::wstring::npos;
    });
}

void EnumerateModulesOf(DWORD pid, const std::wstring& executable, const FolderForms& folder,
                        std::wstring& listing) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, pid);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return;
    }
    MODULEENTRY32W entry{};
    entry.dwSize = sizeof entry;
    bool isFirst = true;
    for (BOOL more = Module32FirstW(snapshot, &entry); more;
         more = Module32NextW(snapshot, &entry)) {
        const bool isUnreachable = isFirst && !PathFileExistsW(entry.szExePath);
        const std::wstring path = ToLowerCase(isUnreachable ? executable : entry.szExePath);
        if (ContainsAny(path, folder)) {
            listing += FormatOpenedFileLine(pid, true, path);
        }
        isFirst = false;
    }
    CloseHandle(snapshot);
}

}  // namespace

std::wstring GetOpenedFilesListing(const std::wstring& folder) {
    std::wstring listing;
    const std::wstring lowerFolder = ToLowerCase(folder);
    EnableDebugPrivilege();
    BuildProcessCache();
    // A 32-bit program on a 64-bit system cannot see the modules of 64-bit processes.
    if (!Is64BitSystem()) {
        EnumerateLoadedModules(lowerFolder, listing);
    }
    EnumerateOpenedFiles(lowerFolder, listing);
    return listing;
}

bool EnableDebugPrivilege() {
    static bool isDone = false;
    if (isDone) {
        return true;
    }
    isDone = true;
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) {
        return false;
    }
    const bool isEnabled = EnablePrivilege(token, SE_DEBUG_NAME);
    CloseHandle(token);
    return isEnabled;
}

void EnumerateLoadedModules(const std::wstring& folder, std::wstring& listing) {
    const FolderForms forms = {folder, ToLowerCase(PathForm(GetShortPathNameW, folder)),
                               ToLowerCase(PathForm(GetLongPathNameW, folder))};
    for (const auto& [pid, process] : processCache) {
        if (pid != 0) {
            EnumerateModulesOf(pid, process.fullPath, forms, listing);
        }
    }
}
