#include "support/Scratch.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include <gtest/gtest.h>

#include "base/Log.h"

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
    static int number = 0;
    do {
        path = (fs::current_path() / (L"s" + std::to_wstring(++number))).native();
    } while (!CreateDirectoryW(path.c_str(), nullptr) && number < 10000);
}

ScratchFolder::~ScratchFolder() {
    RemoveTree(path);
}

std::wstring ScratchFolder::operator/(const std::wstring& name) const {
    return name.empty() ? path : path + L"\\" + name;
}

void WriteFileText(const std::wstring& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    EXPECT_TRUE(std::ofstream(fs::path(path), std::ios::binary) << text) << "not written";
}

std::string ReadFileText(const std::wstring& path) {
    std::ifstream file(fs::path(path), std::ios::binary);
    return file ? std::string(std::istreambuf_iterator(file), {}) : "<missing>";
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void RemoveTree(const std::wstring& path) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(path, ignored)) {
        const wchar_t* name = entry.path().c_str();
        const DWORD attributes = GetFileAttributesW(name);
        SetFileAttributesW(name, FILE_ATTRIBUTE_NORMAL);
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            DeleteFileW(name);
        else if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
            RemoveTree(name);
        RemoveDirectoryW(name);
    }
    RemoveDirectoryW(path.c_str());
}

HeldOpen::HeldOpen(const std::wstring& path, DWORD sharing) {
    handle.reset(
        CreateFileW(path.c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr),
        CloseHandle);
    EXPECT_NE(handle.get(), INVALID_HANDLE_VALUE) << fs::path(path);
}

TempVariable::TempVariable(const std::wstring& folder) {
    std::wstring before(1000, L'\0');
    before.resize(GetEnvironmentVariableW(L"TMP", before.data(), 1000));
    restore.reset(this, [before](auto) {
        SetEnvironmentVariableW(L"TMP", before.empty() ? nullptr : before.c_str());
    });
    SetEnvironmentVariableW(L"TMP", folder.c_str());
}

LogCapture::LogCapture() : start(GetLogText().size()) {}

std::wstring LogCapture::Lines() const {
    static const std::wregex head(
        L"\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\[(\\w+)\\]  \\[(\\w+)\\] ");
    return std::regex_replace(GetLogText().substr(start), head, L"$1 $2 ");
}

int LogCapture::Count(const std::wstring& part) const {
    const std::wstring lines = Lines();
    int count = 0;
    for (std::size_t at = 0; (at = lines.find(part, at)) != std::wstring::npos; ++at)
        ++count;
    return count;
}
