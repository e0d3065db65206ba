#include "support/Scratch.h"

#include <gtest/gtest.h>

#include "diagnostics/Log.h"

namespace {

constexpr wchar_t registryKey[] = L"Software\\SetupTests";

void MakeParents(const std::wstring& path) {
    for (std::size_t at = path.find(L'\\', 3); at != std::wstring::npos;
         at = path.find(L'\\', at + 1)) {
        CreateDirectoryW(path.substr(0, at).c_str(), nullptr);
    }
}

}  // namespace

void RemoveTree(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &entry);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = entry.cFileName;
            const std::wstring full = path + L"\\" + name;
            SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
            const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
            if (name == L"." || name == L"..") {
                continue;
            }
            if (isFolder && !isLink) {
                RemoveTree(full);
            } else if (isFolder) {
                RemoveDirectoryW(full.c_str());
            } else {
                DeleteFileW(full.c_str());
            }
        } while (FindNextFileW(search, &entry));
        FindClose(search);
    }
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
    MakeParents(path);
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
    if (file == INVALID_HANDLE_VALUE) {
        return "<missing>";
    }
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
    // "2026-03-09 14:05:07.042 [" stands before the level.
    constexpr std::size_t stampLength = 25;
    std::wstring lines;
    const std::wstring text = GetLogText().substr(start);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find(L'\n', at);
        std::wstring line = text.substr(at, end - at);
        if (line.size() > stampLength && line[4] == L'-' && line[24] == L'[') {
            line.erase(0, stampLength);
            line.replace(line.find(L"]  ["), 4, L" ");
            line.replace(line.find(L"] "), 2, L" ");
        }
        lines += line + L"\n";
        at = end == std::wstring::npos ? text.size() : end + 1;
    }
    return lines;
}

bool LogCapture::Has(const std::wstring& part) const {
    return Lines().find(part) != std::wstring::npos;
}

int LogCapture::Count(const std::wstring& part) const {
    const std::wstring lines = Lines();
    int count = 0;
    for (std::size_t at = lines.find(part); at != std::wstring::npos;
         at = lines.find(part, at + 1)) {
        ++count;
    }
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
