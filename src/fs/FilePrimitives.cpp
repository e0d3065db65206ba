#include "fs/FilePrimitives.h"

#include <windows.h>
#include <shlwapi.h>
#include <string.h>

#include "base/LastErrorKeeper.h"
#include "base/Log.h"

namespace {

void RemoveFolder(const std::wstring& path) {
    if (!RemoveDirectoryW(path.c_str())) {
        const std::wstring error = LastErrorText();
        fsUtilsLog.Warn(L"RemoveDir: RemoveDirectory(" + path + L") error: " + error);
    }
}

void RemoveFile(const std::wstring& path) {
    if (!DeleteFileW(path.c_str())) {
        const std::wstring error = LastErrorText();
        fsUtilsLog.Warn(L"RemoveDir: DeleteFile(" + path + L") error: " + error);
    }
}

void RemoveEntry(const std::wstring& path, const WIN32_FIND_DATAW& entry) {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        RemoveFile(path);
    } else if (IsFolderLink(entry)) {
        // What the link points at belongs to somebody else.
        RemoveFolder(path);
    } else {
        RemoveDir(path.c_str());
    }
}

}  // namespace

bool IsFolderLink(const WIN32_FIND_DATAW& entry) {
    constexpr DWORD linkAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    // Other kinds of reparse points, such as files that are kept in a cloud, are no links. One
    // whose kind is not told might be.
    return (entry.dwFileAttributes & linkAttributes) == linkAttributes &&
           (entry.dwReserved0 == 0 || IsReparseTagNameSurrogate(entry.dwReserved0));
}

bool IsDotEntry(const wchar_t* name) {
    return lstrcmpW(name, L".") == 0 || lstrcmpW(name, L"..") == 0;
}

int CreateDir(const std::wstring& path) {
    fsUtilsLog.Info(L"CreateDir: " + path);
    std::size_t position = 0;
    bool isMissing = false;
    DWORD error = ERROR_SUCCESS;
    do {
        position = path.find_first_of(L"\\/", position + 1);
        const std::wstring part = path.substr(0, position);
        if (PathFileExistsW(part.c_str()) || CreateDirectoryW(part.c_str(), nullptr)) {
            isMissing = false;
        } else if (!isMissing) {
            // A server's name can be neither seen nor made, and what lies behind it can. Of what is
            // missing in the end the first part tells why.
            isMissing = true;
            error = GetLastError();
        }
    } while (position != std::wstring::npos);
    if (!isMissing || PathFileExistsW(path.c_str())) {
        return 0;
    }
    fsUtilsLog.Error(L"CreateDir: " + ErrorText(error));
    SetLastError(error);
    return -1;
}

void RemoveDir(const wchar_t* path) {
    if (path == nullptr) {
        return;
    }
    const std::wstring folder = path;
    fsUtilsLog.Info(L"RemoveDir: " + folder);
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        fsUtilsLog.Warn(L"RemoveDir: FindFirstFile error: " + LastErrorText());
        return;
    }
    do {
        if (!IsDotEntry(entry.cFileName)) {
            RemoveEntry(folder + L"\\" + entry.cFileName, entry);
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    RemoveFolder(folder);
}

int ReadTextFile(const std::wstring& path, std::string& content) {
    content.clear();
    if (!PathFileExistsW(path.c_str())) {
        return 0;
    }
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return -1;
    }
    constexpr DWORD blockSize = 1024;
    char block[blockSize + 1];
    DWORD count = 0;
    bool isFirst = true;
    do {
        count = 0;
        if (!ReadFile(file, block, blockSize, &count, nullptr)) {
            count = 0;
        }
        block[count] = '\0';
        const bool hasMark = isFirst && memcmp(block, "\xEF\xBB\xBF", 3) == 0;
        content += hasMark ? block + 3 : block;
        isFirst = false;
    } while (count == blockSize);
    CloseHandle(file);
    return 0;
}

int WriteBufferToFile(const void* data, std::uint32_t length, const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return -1;
    }
    DWORD written = 0;
    const BOOL done = WriteFile(file, data, length, &written, nullptr);
    const LastErrorKeeper keeper;
    CloseHandle(file);
    return done ? 0 : -1;
}
