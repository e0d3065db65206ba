#include "kit/Folders.h"

#include <windows.h>

#include <algorithm>

#include "kit/Files.h"

namespace {

constexpr const wchar_t* replacedSuffix = L".replaced";
// Longer than what a pack makes below the folder to publish.
constexpr std::size_t longestBelow = 130;

/// A file that arrived, and whether one stood there before.
struct Arrival {
    std::wstring from, to;
    bool replaced;
};

void TakeBack(const std::vector<Arrival>& arrivals, const std::vector<std::wstring>& made) {
    for (auto arrival = arrivals.rbegin(); arrival != arrivals.rend(); ++arrival) {
        MoveFileExW(arrival->to.c_str(), arrival->from.c_str(), 0);
        if (arrival->replaced) {
            MoveFileExW((arrival->from + replacedSuffix).c_str(), arrival->to.c_str(), 0);
        }
    }
    for (auto folder = made.rbegin(); folder != made.rend(); ++folder) {
        RemoveDirectoryW(folder->c_str());
    }
}

/// Puts the former file aside instead of over-writing it, so that it can come back.
DWORD MoveOne(Arrival& arrival) {
    arrival.replaced = PathExists(arrival.to);
    const std::wstring aside = arrival.from + replacedSuffix;
    if (arrival.replaced && !MoveFileExW(arrival.to.c_str(), aside.c_str(), 0)) {
        return GetLastError();
    }
    if (MoveFileExW(arrival.from.c_str(), arrival.to.c_str(), 0)) {
        return 0;
    }
    const DWORD error = GetLastError();
    if (arrival.replaced) {
        MoveFileExW(aside.c_str(), arrival.to.c_str(), 0);
    }
    return error;
}

}  // namespace

std::wstring FullPath(const std::wstring& path) {
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    while (full.size() > 3 && full.back() == L'\\') {
        full.pop_back();
    }
    return full;
}

std::wstring LongPath(const std::wstring& path) {
    const std::wstring full = FullPath(path);
    if (full.rfind(L"\\\\?\\", 0) == 0) {
        return full;
    }
    return full.rfind(L"\\\\", 0) == 0 ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

std::wstring RoomyPath(const std::wstring& path) {
    const std::wstring full = FullPath(path);
    return full.size() + longestBelow < MAX_PATH ? full : LongPath(full);
}

std::wstring PathIn(const std::wstring& folder, std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return folder + L"\\" + Widen(path);
}

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool PathExists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring ParentOf(const std::wstring& path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring::npos ? std::wstring() : path.substr(0, separator);
}

std::uint32_t MakeFolders(const std::wstring& folder, std::vector<std::wstring>& made) {
    if (folder.empty() || IsFolder(folder)) {
        return 0;
    }
    const std::uint32_t error = MakeFolders(ParentOf(folder), made);
    if (error != 0) {
        return error;
    }
    if (!CreateDirectoryW(folder.c_str(), nullptr)) {
        return GetLastError();
    }
    made.push_back(folder);
    return 0;
}

std::uint32_t TryToWrite(const std::wstring& folder) {
    const std::wstring probe = folder + L"\\pack." + std::to_wstring(GetCurrentProcessId());
    if (!CreateDirectoryW(probe.c_str(), nullptr)) {
        const DWORD error = GetLastError();
        return error == ERROR_ALREADY_EXISTS ? 0 : error;
    }
    RemoveDirectoryW(probe.c_str());
    return 0;
}

void RemoveFolder(const std::wstring& folder) {
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = entry.cFileName;
            const std::wstring path = folder + L"\\" + name;
            const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                if (!DeleteFileW(path.c_str())) {
                    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
                    DeleteFileW(path.c_str());
                }
            } else if (isLink) {
                RemoveDirectoryW(path.c_str());
            } else if (name != L"." && name != L"..") {
                RemoveFolder(path);
            }
        } while (FindNextFileW(find, &entry));
        FindClose(find);
    }
    RemoveDirectoryW(folder.c_str());
}

Failure MoveInto(const std::wstring& from, const std::wstring& to,
                 const std::vector<std::string>& paths) {
    std::vector<Arrival> arrivals;
    std::vector<std::wstring> made;
    for (const std::string& path : paths) {
        Arrival arrival = {PathIn(from, path), PathIn(to, path), false};
        DWORD error = MakeFolders(ParentOf(arrival.to), made);
        if (error == 0) {
            error = MoveOne(arrival);
        }
        if (error != 0) {
            TakeBack(arrivals, made);
            return path + ": cannot be replaced: " + DescribeError(error);
        }
        arrivals.push_back(arrival);
    }
    return {};
}
