#include <gtest/gtest.h>

#include "processes/OpenedFileLines.h"
#include "processes/OpenedFiles.h"
#include "processes/OpenedHandles.h"
#include "processes/ProcessControl.h"
#include "support/Lingering.h"
#include "support/Replace.h"
#include "support/Scratch.h"

TEST(RunningProcesses, AreEndedByNameAndByPath) {
    const ScratchFolder folder;
    const Lingering chain({folder / L"kill_top.exe", folder / L"kill_child.exe",
                           folder / L"kill-1.2.exe", folder / L"elsewhere\\kill_below.exe"});
    const Lingering inFolder({folder / L"app\\kill_in.exe"});
    const Lingering beside({folder / L"app.bkp\\kill_beside.exe"});
    const LogCapture log;
    KillAllProcessesByNameOrPath(L"Kill_Top.exe", L"", L"kill-1.2");
    EXPECT_EQ(log.Count(L"WaitProcessesForClose: Done"), 2);
    EXPECT_EQ(log.Count(L"WaitProcessForClose: process closed"), 2);
    EXPECT_EQ(chain.ExitCode(0), 0u);
    EXPECT_EQ(chain.ExitCode(1), 0u);
    EXPECT_EQ(chain.ExitCode(2), DWORD{STILL_ACTIVE});
    EXPECT_EQ(chain.ExitCode(3), DWORD{STILL_ACTIVE});
    EXPECT_EQ(inFolder.ExitCode(0), DWORD{STILL_ACTIVE});

    // One that starts in the folder while the first ones are ended.
    std::unique_ptr<Lingering> late;
    const auto startAndEnd = [&](auto real, HANDLE process, UINT code) {
        if (!late) {
            late.reset(new Lingering({folder / L"app\\kill_late.exe"}));
        }
        return real(process, code);
    };
    const auto terminate =
        Replace("kernel32.dll", "TerminateProcess", TerminateProcess, startAndEnd);
    KillAllProcessesByNameOrPath(L"kill-1.2.exe", folder / L"APP", L"");
    EXPECT_EQ(chain.ExitCode(3), 0u);
    EXPECT_EQ(inFolder.ExitCode(0), 0u);
    EXPECT_EQ(beside.ExitCode(0), 0u) << "the path is a mere prefix";
    EXPECT_EQ(late->ExitCode(0), 0u);
}

TEST(RunningProcesses, DoNotIncludeThisOne) {
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    EXPECT_EQ(GetProcessFullName(GetCurrentProcessId()), own);
    const ProcessTree tree;
    EXPECT_EQ(tree.byPid.count(GetCurrentProcessId()), 1u);
    ProcessList list;
    tree.FindProcessesByPath(own, list);
    tree.FindProcessesByName(L"processes_test.exe", list, L"");
    for (const ProcessRecord* record : list) {
        EXPECT_NE(record->pid, GetCurrentProcessId());
    }
}

TEST(RunningProcesses, AreCountedByName) {
    const ScratchFolder folder;
    const Lingering running({folder / L"count_me.exe", folder / L"b\\count_me.exe"});
    const std::pair<std::wstring, int> cases[] = {
        {L"Count_Me.EXE", 2}, {L"count_me", 0}, {L"count_none.exe", 0}};
    for (const auto& [name, count] : cases) {
        const LogCapture log;
        EXPECT_EQ(GetRunProcessCount(name.c_str()), count);
        EXPECT_EQ(log.Lines(), L"INFO ProcessesUtils GetRunProcessCount: " + name +
                                   L"\nINFO ProcessesUtils GetRunProcessCount: " +
                                   std::to_wstring(count) + L"\n");
    }
    const LogCapture log;
    EXPECT_EQ(GetRunProcessCount(nullptr), 0);
    EXPECT_EQ(log.Lines(), L"");
}

TEST(RunningProcesses, AreWaitedForByPath) {
    const ScratchFolder folder;
    Lingering running({folder / L"app\\wait_me.exe"});
    const LogCapture log;
    {
        const auto endFirst = [&](auto real, HANDLE process, DWORD timeout) {
            running.End();
            return real(process, timeout);
        };
        const auto wait =
            Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject, endFirst);
        WaitAppForCloseByPath(folder / L"app");
        WaitAppForCloseByPath(L"");
    }
    EXPECT_NE(running.ExitCode(0), DWORD{STILL_ACTIVE});
    EXPECT_EQ(log.Count(L"INFO ProcessesUtils WaitProcessForClose: process closed\n"), 1);
    EXPECT_EQ(log.Count(L"INFO ProcessesUtils WaitAppForCloseByPath: Done\n"), 1);
}

TEST(RunningProcesses, AreListedWithTheFilesTheyHold) {
    const ScratchFolder folder;
    WriteFileText(folder / L"App\\Data.bin", "x");
    const std::wstring program = folder / L"Hold_Me.exe";
    const Lingering holder({program}, folder / L"App\\Data.bin");
    EXPECT_EQ(GetOpenedFilesListing(folder / L"App"),
              L"[" + std::to_wstring(holder.Pid(0)) + L"] Hold_Me.exe (" + program + L") [" +
                  ToLowerCase(folder / L"app\\data.bin") + L"]\n");
}
