#include "services/ExplorerWindows.h"

#include <objbase.h>

#include <string>

#include <gtest/gtest.h>

#include "support/FailingCall.h"
#include "support/Scratch.h"

TEST(CloseWindowsExplorerWindowsForPath, ClosesWhatBeginsWithThePath) {
    const ScratchFolder scratch;
    const std::wstring app = scratch / L"app", list = scratch / L"list";
    for (const wchar_t* name : {L"app\\1.2.3\\x", L"app.BKP\\x", L"ap\\x"}) {
        WriteFileText(scratch / name, "");
    }
    // The list of open windows that the stand-in serves; "!" is one that went away meanwhile.
    SetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", list.c_str());
    const std::string folder(scratch.path.begin(), scratch.path.end());
    WriteFileText(list, folder + "\n" + folder + "\\app\n!\n" + folder + "\\app\\1.2.3\n" + folder +
                            "\\app.BKP\n::{20D04FE0-3AEA-1069-A2D8-08002B30309D}\n" + folder +
                            "\\ap\nC:\\none\\such\n");
    const LogCapture log;
    CloseWindowsExplorerWindowsForPath((L'z' + app.substr(1, app.size() - 3) + L"PP").c_str());
    // A virtual folder has no path.
    CloseWindowsExplorerWindowsForPath(L"::{20D0");
    SetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", nullptr);
    EXPECT_EQ(ReadFileText(list + L".quit"),
              folder + "\\app.BKP\n" + folder + "\\app\\1.2.3\n" + folder + "\\app\n");
    const std::wstring found = L"INFO Utils CloseWindowsExplorerWindowsForPath: found explorer [";
    EXPECT_EQ(log.Count(found), 3);
    EXPECT_TRUE(log.Has(found + app + L"\\1.2.3], quit it!\n")) << log.Lines();
}

TEST(CloseWindowsExplorerWindowsForPath, WithoutTheListOfWindowsOnlyLogs) {
    const FailingCall noList("ole32.dll", "CoCreateInstance", &CoCreateInstance, E_FAIL);
    const LogCapture log;
    EXPECT_EQ(CloseWindowsExplorerWindowsForPath(L"C:\\x"), E_FAIL);
    EXPECT_EQ(log.Lines(),
              L"INFO Utils CloseWindowsExplorerWindowsForPath: [C:\\x]\n"
              L"INFO Utils CloseWindowsExplorerWindowsForPath: Done: [0x80004005] ...\n");
}
