#include "diagnostics/ProcessSection.h"

#include <windows.h>

#include <gtest/gtest.h>

TEST(FormatProcessTree, PrintsChildrenBelowParentsAndRowsOfSiblingsOnce) {
    const struct {
        const char* name;
        std::vector<ProcessEntry> processes;
        const wchar_t* text;
    } cases[] = {
        {"nothing", {}, L""},
        {"sorted by id, the path in brackets",
         {{L"C:\\b.exe", L"b.exe", 4294967295, 4}, {L"", L"System", 4, 0}},
         L"0 4 System ()\n  4 4294967295 b.exe (C:\\b.exe)\n"},
        {"siblings of a name, another one between",
         {{L"", L"r", 1, 0},
          {L"", L"a", 2, 1},
          {L"", L"a", 3, 1},
          {L"", L"a", 4, 1},
          {L"", L"b", 5, 1},
          {L"", L"a", 6, 1},
          {L"", L"A", 7, 1}},
         L"0 1 r ()\n  1 2 a ()\n  1 5 b ()\n  1 6 a ()\n  1 7 A ()\n"},
        {"children of a sibling that shows no line, and of one name with their parent",
         {{L"", L"r", 1, 0}, {L"", L"a", 2, 1}, {L"", L"a", 3, 1}, {L"", L"a", 4, 3}},
         L"0 1 r ()\n  1 2 a ()\n    3 4 a ()\n"},
        {"orphans are roots, a row of one name among them, the first process not counted",
         {{L"", L"o", 1, 0},
          {L"", L"o", 2, 99},
          {L"", L"o", 3, 98},
          {L"", L"c", 4, 3},
          {L"", L"p", 5, 97}},
         L"0 1 o ()\n99 2 o ()\n  3 4 c ()\n97 5 p ()\n"},
        {"the idle process is nobody's child",
         {{L"", L"idle", 0, 0}, {L"", L"s", 4, 0}},
         L"0 0 idle ()\n  0 4 s ()\n"},
        {"the first process below its own descendant",
         {{L"", L"x", 1, 2}, {L"", L"y", 2, 1}},
         L"2 1 x ()\n  1 2 y ()\n"},
        {"parents in a circle are no roots",
         {{L"", L"r", 1, 0}, {L"", L"x", 2, 3}, {L"", L"y", 3, 2}, {L"", L"z", 4, 4}},
         L"0 1 r ()\n"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(FormatProcessTree(row.processes), row.text) << row.name;
    }
}

TEST(GetProcessTree, ShowsThisProcess) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring line = L" " + std::to_wstring(GetCurrentProcessId()) + L" " +
                              (wcsrchr(path, L'\\') + 1) + L" (" + path + L")\n";
    EXPECT_NE(GetProcessTree().find(line), std::wstring::npos);
}
