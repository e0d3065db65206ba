#include "processes/ProcessControl.h"

#include <psapi.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "support/Replace.h"
#include "support/Scratch.h"

TEST(ProcessTree, FindsProcessesByNameWithTheirDescendants) {
    // "pid parent name" of each, 99 being this process; a name to spare; those found.
    const struct {
        const wchar_t *processes, *spared, *found;
    } rows[] = {
        // One name all along; whole names only.
        {L"12 11 app.exe 10 1 App.EXE 11 10 app.exe 14 1 app 15 1 myapp.exe", L"", L" 10 11 12"},
        // A parent that is gone, and parents that refer to each other.
        {L"10 77 app.exe 20 1 app.exe 21 20 app.exe", L"", L" 10 20 21"},
        {L"10 12 app.exe 11 10 b.exe 12 11 c.exe", L"", L" 10 11 12"},
        // Spared with all below, but not as the top; full stops are no extension.
        {L"10 1 app.exe 11 10 Setup.EXE 12 11 c.exe 13 10 app.exe", L"setup", L" 10 13"},
        {L"10 1 app.exe 11 10 set-1.2.3.exe 12 10 set-1.2.exe", L"set-1.2.3", L" 10 12"},
        // This process, below and on top; its report writer, 13 of the same name elsewhere, and 12,
        // which only its path tells.
        {L"10 1 app.exe 99 10 b.exe 11 99 c.exe", L"", L" 10"},
        {L"99 1 app.exe 11 99 app.exe 13 99 app.exe 12 99 b.exe", L"", L" 12 13"},
    };
    for (const auto& row : rows) {
        std::vector<ProcessRecord> processes;
        std::wistringstream words(row.processes);
        for (ProcessRecord next; words >> next.pid >> next.parentPid >> next.exeName;)
            processes.push_back(next);
        const ProcessTree tree(processes, 99);
        DWORD opened = 0;
        const Replaced open = Replace(OpenProcess, [&](auto, auto, auto, DWORD pid) {
            opened = pid;
            return CreateEventW(nullptr, TRUE, TRUE, nullptr);
        });
        const auto image =
            Replace(K32GetProcessImageFileNameW, [&](auto, auto, auto path, auto limit) {
                return swprintf(path, limit, L"\\Device\\HarddiskVolume1\\%ls%ls",
                                opened == 13 ? L"other\\" : L"",
                                tree.byPid.at(opened)->exeName.c_str());
            });
        ProcessList list, byPath;
        tree.FindProcessesByName(L"app.exe", list, row.spared);
        for (const wchar_t* path : {L"C:\\app.exe", L"C:\\b.exe"})
            tree.FindProcessesByPath(path, byPath);
        std::ranges::copy_if(byPath, std::back_inserter(list),
                             [&](auto* record) { return std::ranges::count(list, record) == 0; });
        std::ranges::sort(list, {}, &ProcessRecord::pid);
        std::wstring found;
        for (const ProcessRecord* record : list)
            found += L" " + std::to_wstring(record->pid);
        EXPECT_EQ(found, row.found) << row.processes;
    }
}

// Waiting ends at the first timeout, ending at the first process that cannot be opened.
TEST(ProcessControl, StopsWhereItIsOfNoUse) {
    const ProcessRecord app = {10, 1, L"app.exe"};
    const ProcessList list(3, &app);
    int waits = 0, opened = 0;
    const auto wait = Replace(WaitForSingleObject, [&](auto real, HANDLE object, DWORD timeout) {
        // The test library has a thread that waits for this one.
        return timeout != 5000 ? real(object, timeout) : ++waits == 2 ? WAIT_TIMEOUT : WAIT_FAILED;
    });
    const auto open = Replace(OpenProcess, [&](auto, auto...) {
        return ++opened == 4 ? nullptr : CreateEventW(nullptr, TRUE, TRUE, nullptr);
    });
    WaitProcessesForClose(list);
    EXPECT_EQ(waits, 2);
    TerminateProcesses(list);
    EXPECT_EQ(opened, 4);
}
