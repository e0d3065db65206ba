// Stands in for: the copying out of the Shell's zip folder.
#include "UnpackToFolder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "ZipReader.h"

namespace {

HRESULT LastError() {
    return HRESULT_FROM_WIN32(GetLastError());
}

struct Handle {
    HANDLE value;
    explicit Handle(HANDLE handle) : value(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~Handle() {
        if (value) {
            CloseHandle(value);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
};

HANDLE OpenToRead(const std::wstring& path) {
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
}

// A whole file mapped into memory for the life of the record.
struct MappedFile {
    Handle file;
    Handle mapping{nullptr};
    Bytes bytes;
    HRESULT result = S_OK;

    explicit MappedFile(const std::wstring& path) : file(OpenToRead(path)) {
        LARGE_INTEGER size{};
        if (!file.value || !GetFileSizeEx(file.value, &size)) {
            result = LastError();
            return;
        }
        // An empty file cannot be mapped, one of 4 GiB does not fit; neither can be unpacked.
        if (size.QuadPart == 0 || size.HighPart != 0) {
            result = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
            return;
        }
        mapping.value = CreateFileMappingW(file.value, nullptr, PAGE_READONLY, 0, 0, nullptr);
        const void* view =
            mapping.value ? MapViewOfFile(mapping.value, FILE_MAP_READ, 0, 0, 0) : nullptr;
        if (view) {
            bytes = {static_cast<const std::uint8_t*>(view), size.LowPart};
        } else {
            result = LastError();
        }
    }
    ~MappedFile() {
        if (!bytes.empty()) {
            UnmapViewOfFile(bytes.data());
        }
    }
};

HRESULT ToHResult(ZipResult result) {
    switch (result) {
        case ZipResult::Ok:
            return S_OK;
        case ZipResult::Unsupported:
            return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
        case ZipResult::UnsafeName:
            return HRESULT_FROM_WIN32(ERROR_BAD_PATHNAME);
        case ZipResult::SinkFailed:
            return E_FAIL;
        case ZipResult::Damaged:
            break;
    }
    return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
}

using FolderSet = std::unordered_set<std::wstring>;

HRESULT MakeFolder(const std::wstring& path) {
    if (CreateDirectoryW(path.c_str(), nullptr)) {
        return S_OK;
    }
    const DWORD error = GetLastError();
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        return HRESULT_FROM_WIN32(error);
    }
    if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) {
        return HRESULT_FROM_WIN32(ERROR_CANT_RESOLVE_FILENAME);
    }
    return S_OK;
}

// Makes the folders of a relative path below root (which ends in a backslash), up to the given
// length; made remembers them.
HRESULT MakeFolders(const std::wstring& root, const std::wstring& path, std::size_t length,
                    FolderSet& made) {
    for (std::size_t end = 0; end < length;) {
        end = std::min(path.find(L'\\', end + 1), length);
        if (!made.insert(path.substr(0, end)).second) {
            continue;
        }
        const HRESULT result = MakeFolder(root + path.substr(0, end));
        if (FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

// A new file always, never one that is there: that could be a link to elsewhere.
HANDLE CreateNewFile(const std::wstring& path) {
    return CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                       FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
}

// The archive holds local time; a date that does not exist leaves the file as it is.
void SetTimeOf(HANDLE file, const ZipEntry& entry) {
    FILETIME local, utc;
    if (DosDateTimeToFileTime(entry.dosDate, entry.dosTime, &local) &&
        LocalFileTimeToFileTime(&local, &utc)) {
        SetFileTime(file, nullptr, nullptr, &utc);
    }
}

HRESULT WriteContent(const ZipEntry& entry, HANDLE file) {
    HRESULT writeResult = S_OK;
    const ZipResult unpacked = UnpackEntry(entry, [&](Bytes piece) {
        const auto size = static_cast<DWORD>(piece.size());
        DWORD written = 0;
        if (!WriteFile(file, piece.data(), size, &written, nullptr)) {
            writeResult = LastError();
        } else if (written != size) {
            writeResult = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
        }
        return SUCCEEDED(writeResult);
    });
    SetTimeOf(file, entry);
    return FAILED(writeResult) ? writeResult : ToHResult(unpacked);
}

// What stands at the target is replaced by a rename, since Wine deletes through links.
HRESULT WriteEntry(const ZipEntry& entry, const std::wstring& target) {
    std::wstring path = target;
    HANDLE file = CreateNewFile(path);
    if (file == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS) {
        path += L".unpacked";
        file = CreateNewFile(path);
    }
    if (file == INVALID_HANDLE_VALUE) {
        return LastError();
    }
    HRESULT result = WriteContent(entry, file);
    CloseHandle(file);
    if (SUCCEEDED(result) && path != target &&
        !MoveFileExW(path.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        result = LastError();
    }
    if (FAILED(result)) {
        DeleteFileW(path.c_str());
    }
    return result;
}

}  // namespace

bool IsZipFile(const std::wstring& path) {
    const Handle file(OpenToRead(path));
    std::uint8_t beginning[4];
    DWORD got = 0;
    return file.value && ReadFile(file.value, beginning, sizeof beginning, &got, nullptr) &&
           LooksLikeZip(Bytes(beginning, got));
}

HRESULT UnpackToFolder(const std::wstring& zipPath, const std::wstring& folder) {
    const std::wstring root = folder + L'\\';
    const MappedFile archive(zipPath);
    if (FAILED(archive.result)) {
        return archive.result;
    }
    std::vector<ZipEntry> entries;
    HRESULT result = ToHResult(ReadEntries(archive.bytes, entries));
    FolderSet made;
    for (std::size_t i = 0; i < entries.size() && SUCCEEDED(result); ++i) {
        const std::wstring path(entries[i].path.begin(), entries[i].path.end());
        const std::size_t parent = path.rfind(L'\\');
        const std::size_t folders = entries[i].isFolder            ? path.size()
                                    : parent == std::wstring::npos ? 0
                                                                   : parent;
        result = MakeFolders(root, path, folders, made);
        if (SUCCEEDED(result) && !entries[i].isFolder) {
            result = WriteEntry(entries[i], root + path);
        }
    }
    return result;
}
