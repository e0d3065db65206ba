#include "support/Scratch.h"

#include <gtest/gtest.h>

#include "diagnostics/Log.h"

namespace {

constexpr wchar_t registryKey[] = L"Software\\SetupTests";

}  // namespace

void RemoveTree(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &entry);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &entry)) {
        const std::wstring name = entry.cFileName, full = path + L"\\" + name;
        if (name == L"." || name == L"..")
            continue;
        SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            DeleteFileW(full.c_str());
        else if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
            RemoveDirectoryW(full.c_str());
        else
            RemoveTree(full);
    }
    FindClose(search);
    RemoveDirectoryW(path.c_str());
}

ScratchFolder::ScratchFolder() {
    wchar_t current[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, current);
    static int number = 0;
    do {
        path = std::wstring(current) + L"\\s" + std::to_wstring(++number);
    } while (!CreateDirectoryW(path.c_str(), nullptr) && number < 10000);
}

ScratchFolder::~ScratchFolder() {
    RemoveTree(path);
}

std::wstring ScratchFolder::operator/(const std::wstring& name) const {
    return name.empty() ? path : path + L"\\" + name;
}

void WriteFileText(const std::wstring& path, const std::string& text) {
    for (std::size_t at = 2; (at = path.find(L'\\', at + 1)) != std::wstring::npos;)
        CreateDirectoryW(path.substr(0, at).c_str(), nullptr);
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "cannot write, error " << GetLastError();
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
}

std::string ReadFileText(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return "<missing>";
    std::string text(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
    CloseHandle(file);
    text.resize(read);
    return text;
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

HeldOpen::HeldOpen(const std::wstring& path) {
    const bool isFolder = (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0;
    handle =
        CreateFileW(path.c_str(), GENERIC_READ, isFolder ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0,
                    nullptr, OPEN_EXISTING, isFolder ? FILE_FLAG_BACKUP_SEMANTICS : 0, nullptr);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
}

HeldOpen::~HeldOpen() {
    CloseHandle(handle);
}

LogCapture::LogCapture() : start(GetLogText().size()) {}

std::wstring LogCapture::Lines() const {
    // "2026-03-09 14:05:07.042 [" stands before the level, "]  [" and "] " around the source.
    std::wstring lines = GetLogText().substr(start);
    std::size_t at = 0;
    do {
        if (lines.size() > at + 25 && lines[at + 4] == L'-' && lines[at + 24] == L'[') {
            lines.erase(at, 25);
            lines.replace(lines.find(L"]  [", at), 4, L" ");
            lines.replace(lines.find(L"] ", at), 2, L" ");
        }
    } while ((at = lines.find(L'\n', at) + 1) != 0);
    return lines;
}

int LogCapture::Count(const std::wstring& part) const {
    const std::wstring lines = Lines();
    int count = 0;
    for (std::size_t at = 0; (at = lines.find(part, at)) != std::wstring::npos; ++at)
        ++count;
    return count;
}

RedirectedRegistry::RedirectedRegistry() {
    RegDeleteTreeW(HKEY_CURRENT_USER, registryKey);
    RegCreateKeyExW(HKEY_CURRENT_USER, registryKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                    nullptr);
    EXPECT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, key), ERROR_SUCCESS);
}

RedirectedRegistry::~RedirectedRegistry() {
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegCloseKey(key);
    RegDeleteTreeW(HKEY_CURRENT_USER, registryKey);
}
