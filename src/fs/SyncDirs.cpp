#include "fs/SyncDirs.h"

#include <shlwapi.h>

#include <utility>

#include "base/Log.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"

namespace {

constexpr int deepestLevel = 8;

std::wstring FoldCase(std::wstring name) {
    CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
    return name;
}

HANDLE OpenEnumeration(const std::wstring& folder, WIN32_FIND_DATAW& entry, const wchar_t* caller) {
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        const std::wstring error = LastErrorText();
        fsUtilsLog.Error(std::wstring(caller) + L": error of FindFirstFile: " + error);
    }
    return search;
}

int SyncEntry(const std::wstring& sourceFolder, const WIN32_FIND_DATAW& entry, int depth,
              FSObject& destination, bool showErrorDialog) {
    const std::wstring name = entry.cFileName;
    const FSObject source(sourceFolder + L"\\" + name, entry);
    if (FSObject* known = destination.FindChild(name)) {
        return SyncObject(source, *known, depth, showErrorDialog);
    }
    FSObject unknown;
    unknown.SetPath(destination.path + L"\\" + name);
    return SyncObject(source, unknown, depth, showErrorDialog);
}

void RemoveUnsynced(const FSObject& destination) {
    for (const auto& child : destination.children) {
        if (!child->synced) {
            SHRemoveObject(child->path, false);
        }
    }
}

int PrepareFolder(FSObject& destination, bool showErrorDialog) {
    if (destination.isDirectory) {
        return 0;
    }
    if (destination.exists && SHRemoveObject(destination.path, showErrorDialog) < 0) {
        return -1;
    }
    if (CreateDir(destination.path) < 0) {
        return -1;
    }
    destination.isDirectory = 1;
    destination.exists = 1;
    return 0;
}

}  // namespace

FSObject::FSObject(const std::wstring& objectPath) {
    SetPath(objectPath);
}

FSObject::FSObject(const std::wstring& objectPath, const WIN32_FIND_DATAW& record)
    : path(objectPath),
      isDirectory(record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY),
      exists(1),
      sizeLow(record.nFileSizeLow),
      sizeHigh(record.nFileSizeHigh) {
    FileTimeToSystemTime(&record.ftLastWriteTime, &lastWriteTime);
}

void FSObject::SetPath(const std::wstring& newPath) {
    path = newPath;
    exists = PathFileExistsW(newPath.c_str()) ? 1 : 0;
    isDirectory = exists ? GetFileAttributesW(newPath.c_str()) & FILE_ATTRIBUTE_DIRECTORY : 0;
}

void FSObject::AddChild(const std::wstring& name, std::unique_ptr<FSObject> child) {
    childrenByName[FoldCase(name)] = child.get();
    children.push_back(std::move(child));
}

FSObject* FSObject::FindChild(const std::wstring& name) const {
    const auto found = childrenByName.find(FoldCase(name));
    return found == childrenByName.end() ? nullptr : found->second;
}

bool FSObject::Differs(const FSObject& other) const {
    const SYSTEMTIME& a = lastWriteTime;
    const SYSTEMTIME& b = other.lastWriteTime;
    return sizeLow != other.sizeLow || sizeHigh != other.sizeHigh || a.wSecond != b.wSecond ||
           a.wMinute != b.wMinute || a.wHour != b.wHour || a.wDay != b.wDay ||
           a.wMonth != b.wMonth || a.wYear != b.wYear;
}

void FSObject::ClearChildren() {
    childrenByName.clear();
    children.clear();
}

int SyncDirs(const std::wstring& source, const std::wstring& destination, bool showErrorDialog) {
    fsUtilsLog.Info(L"SyncDirs: [" + source + L"] to [" + destination + L"]");
    if (!PathFileExistsW(source.c_str())) {
        fsUtilsLog.Info(L"SyncDirs: Done");
        return 0;
    }
    fsUtilsLog.Info(L"SyncDirs: Start RecursiveSearch");
    FSObject destinationRoot(destination);
    if (destinationRoot.exists && RecursiveSearch(destination, 1, destinationRoot) < 0) {
        return -1;
    }
    fsUtilsLog.Info(L"SyncDirs: Start RecursiveSync");
    const FSObject sourceRoot(source);
    const int result = SyncObject(sourceRoot, destinationRoot, 0, showErrorDialog);
    destinationRoot.ClearChildren();
    if (result < 0) {
        return -1;
    }
    fsUtilsLog.Info(L"SyncDirs: Done");
    return 0;
}

int RecursiveSearch(const std::wstring& folder, int depth, FSObject& object) {
    if (depth > deepestLevel) {
        return 0;
    }
    WIN32_FIND_DATAW entry;
    const HANDLE search = OpenEnumeration(folder, entry, L"RecursiveSearch");
    if (search == INVALID_HANDLE_VALUE) {
        return -1;
    }
    int result = 0;
    do {
        const std::wstring name = entry.cFileName;
        if (IsDotEntry(name.c_str())) {
            continue;
        }
        auto child = std::make_unique<FSObject>(folder + L"\\" + name, entry);
        if (IsFolderLink(entry)) {
            // Replaced like a file: what it points at is not to be changed.
            child->isDirectory = 0;
        }
        if (child->isDirectory) {
            result = RecursiveSearch(child->path, depth + 1, *child);
        }
        object.AddChild(name, std::move(child));
    } while (result >= 0 && FindNextFileW(search, &entry));
    FindClose(search);
    return result;
}

int RecursiveSync(const std::wstring& sourceFolder, int depth, FSObject& destination,
                  bool showErrorDialog) {
    if (depth > deepestLevel) {
        return 0;
    }
    WIN32_FIND_DATAW entry;
    const HANDLE search = OpenEnumeration(sourceFolder, entry, L"RecursiveSync");
    if (search == INVALID_HANDLE_VALUE) {
        return -1;
    }
    int result = 0;
    do {
        if (!IsDotEntry(entry.cFileName)) {
            result = SyncEntry(sourceFolder, entry, depth, destination, showErrorDialog);
        }
    } while (result >= 0 && FindNextFileW(search, &entry));
    FindClose(search);
    if (result >= 0) {
        RemoveUnsynced(destination);
    }
    return result;
}

int SyncObject(const FSObject& source, FSObject& destination, int depth, bool showErrorDialog) {
    if (source.isDirectory) {
        if (PrepareFolder(destination, showErrorDialog) < 0 ||
            RecursiveSync(source.path, depth + 1, destination, showErrorDialog) < 0) {
            return -1;
        }
    } else if (source.Differs(destination) &&
               SHCopyObject(source.path, destination.path, showErrorDialog) < 0) {
        return -1;
    }
    destination.synced = true;
    return 0;
}
