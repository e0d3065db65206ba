#include "fs/Scene.h"

#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "ui/ShowDialog.h"

namespace {

// Every list that the Shell wants ends with an empty path.
void ExpectOnePath(const wchar_t* list) {
    EXPECT_TRUE(list == nullptr || list[wcslen(list) + 1] == L'\0') << "a list without end";
}

void Exchange(std::wstring& text, const std::wstring& part, const std::wstring& other) {
    for (std::size_t at; (at = text.find(part)) != std::wstring::npos;) {
        text.replace(at, part.size(), other);
    }
}

}  // namespace

int Scene::startedEver = 0;

Scene::Scene(std::vector<int> shellAnswers, std::vector<int> userAnswers)
    : answers(std::move(userAnswers)) {
    const auto pause = [this](auto, DWORD length) {
        events += length == 100 ? '.' : length == 400 ? '~' : length == 1000 ? '-' : '!';
        if (++pauses == freeingPause) {
            held.reset();
        }
    };
    const auto operate = [this, shellAnswers](auto shellWork, SHFILEOPSTRUCTW* record) {
        NoteShell(*record);
        const std::size_t call = operations++;
        const bool isFaked = call < shellAnswers.size() && shellAnswers[call] != real;
        return isFaked ? shellAnswers[call] : shellWork(record);
    };
    const auto ask = [this](auto, HWND owner, LPCWSTR, LPCWSTR, UINT flags) {
        events += '?';
        EXPECT_EQ(owner, mainWindowHandle);
        EXPECT_EQ(flags, UINT{MB_RETRYCANCEL});
        if (static_cast<int>(++asked) == freeingQuestion) {
            held.reset();
        }
        return asked <= answers.size() ? answers[asked - 1] : IDCANCEL;
    };
    const auto start = [this](auto, LPCWSTR, LPWSTR line, auto, auto, auto, DWORD flags, auto...) {
        EXPECT_EQ(asked, 0u) << "the question came first";
        started.push_back((flags == CREATE_NO_WINDOW ? L"hidden " : L"") + std::wstring(line));
        ++startedEver;
        return TRUE;
    };
    replaced = {Replace("kernel32.dll", "Sleep", Sleep, pause),
                Replace("shell32.dll", "SHFileOperationW", SHFileOperationW, operate),
                Replace("user32.dll", "MessageBoxW", MessageBoxW, ask),
                Replace("kernel32.dll", "CreateProcessW", CreateProcessW, start)};
}

Scene::~Scene() {
    EXPECT_EQ(asked, answers.size()) << "questions";
}

std::wstring Scene::operator/(const std::wstring& name) const {
    return folder / name;
}

void Scene::Hold(const std::wstring& name, int lastPause, int lastQuestion) {
    held = lastPause > 0 ? std::make_unique<HeldOpen>(folder / name) : nullptr;
    freeingPause = lastPause;
    freeingQuestion = lastQuestion;
}

std::wstring Scene::Log() const {
    std::wstring lines = log.Lines();
    for (const DWORD code : {0, 2, 3, 5, 13, 31, 32, 87, 123, 145, 183, 267}) {
        Exchange(lines, ErrorText(code), L"#" + std::to_wstring(code));
    }
    Exchange(lines, folder.path + L"\\", L"");
    Exchange(lines, L" FSUtils ", L" ");
    std::wistringstream reader(lines);
    std::vector<std::pair<std::wstring, int>> groups;
    for (std::wstring line; std::getline(reader, line);) {
        Exchange(line, L"INFO ", L"");
        if (groups.empty() || groups.back().first != line) {
            groups.emplace_back(line, 0);
        }
        ++groups.back().second;
    }
    std::wstring text;
    for (const auto& [line, count] : groups) {
        text += (count > 1 ? std::to_wstring(count) + L"*" : L"") + line + L"|";
    }
    return text;
}

void Scene::NoteShell(const SHFILEOPSTRUCTW& record) {
    events += record.wFunc == FO_MOVE ? 'm' : record.wFunc == FO_COPY ? 'c' : 'd';
    ExpectOnePath(record.pFrom);
    ExpectOnePath(record.pTo);
    EXPECT_EQ(record.fFlags, wcschr(record.pFrom, L'*') == nullptr ? 0x0614 : 0x0694);
}

void MakeTree(const std::wstring& folder, const std::wstring& tree) {
    std::wistringstream entries(tree);
    for (std::wstring entry; entries >> entry;) {
        const std::size_t end = entry.find(L'=');
        const std::wstring full = folder + L"\\" + entry.substr(0, end);
        const bool isFolder = full.back() == L'\\';
        // Making a file makes its folder.
        WriteFileText(isFolder ? full + L"x" : full, {entry.begin() + end + 1, entry.end()});
        if (isFolder) {
            DeleteFileW((full + L"x").c_str());
        }
    }
}

std::wstring ReadTree(const std::wstring& folder, const std::wstring& below) {
    std::wstring tree;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\" + below + L"*").c_str(), &entry);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &entry)) {
        const std::wstring name = below + entry.cFileName;
        if (entry.cFileName[0] == L'.') {
            continue;
        }
        tree += tree.empty() ? L"" : L" ";
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            tree += ReadTree(folder, name + L"\\");
        } else {
            const std::string content = ReadFileText(folder + L"\\" + name);
            tree += name + L"=" + std::wstring(content.begin(), content.end());
        }
    }
    FindClose(search);
    return tree.empty() && !below.empty() ? below + L"=" : tree;
}

Replaced FakeLink(const std::wstring& name, DWORD tag) {
    return Replace("kernel32.dll", "FindNextFileW", FindNextFileW,
                   [=](auto real, HANDLE search, WIN32_FIND_DATAW* entry) {
                       const BOOL more = real(search, entry);
                       if (more && entry->cFileName == name) {
                           entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
                           entry->dwReserved0 = tag;
                       }
                       return more;
                   });
}
