#include <gtest/gtest.h>

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
    const DWORD expected[] = {0, 0, STILL_ACTIVE, STILL_ACTIVE};
    for (std::size_t index = 0; index < 4; ++index) {
        EXPECT_EQ(chain.ExitCode(index), expected[index]) << index;
    }
    EXPECT_EQ(inFolder.ExitCode(0), DWORD{STILL_ACTIVE});

    // One that starts in the folder while the first ones are ended.
    std::unique_ptr<Lingering> late;
    const auto start = [&](auto real, HANDLE process, UINT code) {
        if (!late) {
            late.reset(new Lingering({folder / L"app\\kill_late.exe"}));
        }
        return real(process, code);
    };
    const auto terminate = Replace("kernel32.dll", "TerminateProcess", TerminateProcess, start);
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
    ProcessList list;
    ProcessTree().FindProcessesByPath(own, list);
    EXPECT_TRUE(list.empty());
}

TEST(RunningProcesses, AreCountedByName) {
    const ScratchFolder folder;
    const Lingering running({folder / L"count_me.exe", folder / L"b\\count_me.exe"});
    const LogCapture log;
    EXPECT_EQ(GetRunProcessCount(nullptr), 0);
    EXPECT_EQ(GetRunProcessCount(L"count_me"), 0);
    EXPECT_EQ(GetRunProcessCount(L"Count_Me.EXE"), 2);
    const std::wstring line = L"INFO ProcessesUtils GetRunProcessCount: ";
    EXPECT_EQ(log.Lines(),
              line + L"count_me\n" + line + L"0\n" + line + L"Count_Me.EXE\n" + line + L"2\n");
}

TEST(RunningProcesses, AreWaitedForByPath) {
    const ScratchFolder folder;
    Lingering running({folder / L"app\\wait_me.exe"});
    const LogCapture log;
    const auto end = [&](auto real, HANDLE process, DWORD timeout) {
        running.End();
        return real(process, timeout);
    };
    auto wait = Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject, end);
    WaitAppForCloseByPath(folder / L"app");
    WaitAppForCloseByPath(L"");
    wait.reset();
    EXPECT_NE(running.ExitCode(0), DWORD{STILL_ACTIVE});
    EXPECT_EQ(log.Count(L"INFO ProcessesUtils WaitProcessForClose: process closed\n"), 1);
    EXPECT_EQ(log.Count(L"INFO ProcessesUtils WaitAppForCloseByPath: Done\n"), 1);
}
