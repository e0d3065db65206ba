#include "fs/Scene.h"

#include <shellapi.h>

#include <filesystem>
#include <sstream>
#include <utility>

#include "ui/DialogAsking.h"

namespace fs = std::filesystem;
using namespace std::string_literals;

Scene::Scene(std::string given) : script(std::move(given)) {
    const auto pause = [this](auto, DWORD length) {
        EXPECT_EQ(length, 100u);
        Note('.');
    };
    const auto operate = [this](auto real, SHFILEOPSTRUCTW* record) {
        // Every list that the Shell wants ends with an empty path.
        for (const wchar_t* list : {record->pFrom, record->pTo})
            EXPECT_TRUE(list == nullptr || list[wcslen(list) + 1] == L'\0') << "without end";
        EXPECT_EQ(record->fFlags,
                  record->wFunc == FO_DELETE && wcschr(record->pFrom, L'*') ? 0x0694 : 0x0614);
        const int result = Note(" mcd"[record->wFunc]);
        if (result == ERROR_DISK_FULL) {
            fs::create_directories(record->pTo);
            fs::rename(record->pFrom + L"\\a"s, record->pTo + L"\\a"s);
        }
        record->fAnyOperationsAborted = result == ERROR_CANCELLED;
        return result < 0 ? real(record) : result % ERROR_CANCELLED;
    };
    const auto ask = [this](auto, HWND owner, LPCWSTR, LPCWSTR, UINT flags) {
        EXPECT_TRUE(owner == mainWindowHandle && flags == MB_RETRYCANCEL);
        const int answer = Note('?');
        return answer >= 0 ? answer : events.size() <= script.size() ? IDRETRY : IDCANCEL;
    };
    const auto start = [this](auto, LPCWSTR, LPWSTR line, auto...) {
        EXPECT_NE(wcsstr(line, L"fs_test.exe\" --generate-report"), nullptr);
        EXPECT_EQ(events.find('?'), std::string::npos) << "the question came first";
        return ++reports;
    };
    const auto next = [](auto real, HANDLE search, WIN32_FIND_DATAW* entry) {
        const BOOL more = real(search, entry);
        const bool isLink = entry->cFileName == L"link"s;
        if (isLink || entry->cFileName == L"cloud"s) {
            entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
            entry->dwReserved0 = isLink ? IO_REPARSE_TAG_MOUNT_POINT : 0x9000001A;
        }
        return more;
    };
    replaced = {Replace(Sleep, pause), Replace(SHFileOperationW, operate),
                Replace(MessageBoxW, ask), Replace(CreateProcessW, start),
                Replace(FindNextFileW, next)};
}

// The result that the script tells, or -1.
int Scene::Note(char event) {
    events += event;
    const std::string rest = events.size() < script.size() ? script.substr(events.size()) : "";
    const int result = isdigit(rest[0]) ? atoi(rest.c_str()) : -1;
    events += result < 0 ? "" : std::to_string(result);
    if (script.substr(0, events.size() + 1) == events + '!') {
        events += '!';
        held.reset();
    }
    return result;
}

void MakeTree(const std::wstring& folder, const std::wstring& tree) {
    std::wistringstream entries(tree);
    for (std::wstring entry; entries >> entry;) {
        const std::size_t end = entry.find(L'=');
        const std::wstring path = folder + L"\\" + entry.substr(0, end);
        fs::create_directories(fs::path(path).parent_path());
        if (path.back() != L'\\')
            WriteFileText(path, {entry.begin() + end + 1, entry.end()});
    }
}

std::wstring ReadTree(const std::wstring& folder) {
    std::wstring tree;
    std::error_code missing;
    for (const auto& entry : fs::recursive_directory_iterator(folder, missing)) {
        const std::wstring path = entry.path(), name = path.substr(folder.size() + 1);
        const std::string text = entry.is_directory() ? "\\=" : "=" + ReadFileText(path);
        if (!entry.is_directory() || fs::is_empty(path))
            tree += L" " + name + std::wstring(text.begin(), text.end());
    }
    return tree.erase(0, 1);
}
