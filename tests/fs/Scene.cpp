#include "fs/Scene.h"

#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "ui/ShowDialog.h"

namespace {

// The list that the Shell wants ends with an empty path.
std::wstring OnlyPath(const wchar_t* list) {
    const std::wstring path = list ? list : L"";
    EXPECT_TRUE(list == nullptr || list[path.size() + 1] == L'\0') << "a list without end";
    return path;
}

std::wstring Line(const wchar_t* level, const std::wstring& message) {
    return std::wstring(level) + L" FSUtils " + message + L"\n";
}

}  // namespace

int Scene::startedEver = 0;

Scene::Scene(std::vector<int> shellAnswers, std::vector<int> userAnswers)
    : answers(std::move(userAnswers)) {
    const auto pause = [this](auto, DWORD length) {
        pauses.push_back(length);
        if (static_cast<int>(pauses.size()) == freeingPause) {
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
        EXPECT_EQ(owner, mainWindowHandle);
        EXPECT_EQ(flags, UINT{MB_RETRYCANCEL});
        if (static_cast<int>(++asked) == freeingQuestion) {
            held.reset();
        }
        return asked <= answers.size() ? answers[asked - 1] : IDCANCEL;
    };
    const auto start = [this](auto, LPCWSTR, LPWSTR commandLine, auto...) {
        EXPECT_EQ(asked, 0u) << "the question came first";
        started.push_back(commandLine);
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

void Scene::NoteShell(const SHFILEOPSTRUCTW& record) {
    shell += record.wFunc == FO_MOVE ? 'm' : record.wFunc == FO_COPY ? 'c' : 'd';
    from = OnlyPath(record.pFrom);
    to = OnlyPath(record.pTo);
    EXPECT_EQ(record.fFlags, from.find(L'*') == std::wstring::npos ? 0x0614 : 0x0694);
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

std::wstring Info(const std::wstring& message) {
    return Line(L"INFO", message);
}

std::wstring Warn(const std::wstring& message, DWORD error) {
    return Line(L"WARN", message + ErrorText(error));
}

std::wstring Error(const std::wstring& message, DWORD error) {
    return Line(L"ERROR", message + ErrorText(error));
}

std::wstring Repeat(std::size_t count, const std::wstring& text) {
    return count == 0 ? L"" : text + Repeat(count - 1, text);
}
