#include "kit/WorkFolder.h"

#include <windows.h>

#include "kit/Folders.h"

namespace {

constexpr unsigned mostFolders = 32;

std::wstring NameFolder(const std::wstring& place, unsigned number) {
    return place + L"." + std::to_wstring(number) + L".tmp";
}

/// A lock on a byte, not sharing alone: under Wine it holds against programs of other prefixes.
HANDLE TakeLock(const std::wstring& folder, DWORD disposition) {
    const HANDLE file =
        CreateFileW((folder + L"\\pack.lock").c_str(), GENERIC_READ | GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE && !LockFile(file, 0, 0, 1, 0)) {
        CloseHandle(file);
        return INVALID_HANDLE_VALUE;
    }
    return file;
}

}  // namespace

std::uint32_t OpenWorkFolder(const std::wstring& place, WorkFolder& folder) {
    // One without a lock in it is somebody else's, whatever its name.
    for (unsigned number = 1; number <= mostFolders; ++number) {
        folder.path = NameFolder(place, number);
        folder.lock = TakeLock(folder.path, OPEN_EXISTING);
        if (folder.lock != INVALID_HANDLE_VALUE) {
            CloseWorkFolder(folder);
        }
    }
    for (unsigned number = 1; number <= mostFolders; ++number) {
        folder.path = NameFolder(place, number);
        if (CreateDirectoryW(folder.path.c_str(), nullptr)) {
            folder.lock = TakeLock(folder.path, CREATE_NEW);
            // Otherwise another one, which cleaned up, came between.
            if (folder.lock != INVALID_HANDLE_VALUE) {
                return 0;
            }
        } else if (const DWORD error = GetLastError(); error != ERROR_ALREADY_EXISTS) {
            return error;
        }
    }
    return ERROR_ALREADY_EXISTS;
}

void CloseWorkFolder(const WorkFolder& folder) {
    // The lock goes last: without it nobody would know what the rest is.
    RemoveFolder(folder.path);
    CloseHandle(folder.lock);
    RemoveFolder(folder.path);
    if (IsFolder(folder.path)) {
        CloseHandle(TakeLock(folder.path, OPEN_ALWAYS));
    }
}
