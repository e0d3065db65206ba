#include "services/ExplorerWindows.h"

#include <objbase.h>

#include <string>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

std::string Narrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

}  // namespace

TEST(CloseWindowsExplorerWindowsForPath, ClosesWhatBeginsWithThePath) {
    const ScratchFolder scratch;
    const std::wstring app = scratch / L"app", list = scratch / L"list";
    for (const wchar_t* name : {L"app\\1.2.3\\x", L"app.BKP\\x", L"ap\\x", L"other\\x"}) {
        WriteFileText(scratch / name, "");
    }
    // The list of open windows that the stand-in serves; "!" is one that went away meanwhile.
    SetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", list.c_str());
    WriteFileText(list, Narrow(scratch.path + L"\n" + app + L"\n!\n" + app + L"\\1.2.3\n" + app +
                               L".BKP\n::{20D04FE0-3AEA-1069-A2D8-08002B30309D}\n" + scratch.path +
                               L"\\other\n" + scratch.path + L"\\ap\nC:\\none\\such\n"));
    const std::wstring path = L'z' + app.substr(1, app.size() - 3) + L"PP";
    const std::wstring found = L"CloseWindowsExplorerWindowsForPath: found explorer [";
    const LogCapture log;
    CloseWindowsExplorerWindowsForPath(path.c_str());
    // A virtual folder has no path.
    CloseWindowsExplorerWindowsForPath(L"::{20D0");
    SetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", nullptr);
    EXPECT_EQ(ReadFileText(list + L".quit"),
              Narrow(app + L".BKP\n" + app + L"\\1.2.3\n" + app + L"\n"));
    EXPECT_EQ(log.Count(found), 3);
    EXPECT_TRUE(log.Has(L"INFO Utils " + found + app + L"\\1.2.3], quit it!\n")) << log.Lines();
}

TEST(CloseWindowsExplorerWindowsForPath, WithoutWindowsOrTheirListOnlyLogs) {
    const auto expectResult = [](HRESULT result) {
        const LogCapture log;
        EXPECT_EQ(CloseWindowsExplorerWindowsForPath(L"C:\\x"), result);
        EXPECT_EQ(log.Lines(),
                  L"INFO Utils CloseWindowsExplorerWindowsForPath: [C:\\x]\n"
                  L"INFO Utils CloseWindowsExplorerWindowsForPath: Done: " +
                      HResultText(result) + L"\n");
    };
    expectResult(S_OK);
    const Replaced noList = Replace("ole32.dll", "CoCreateInstance", CoCreateInstance,
                                    [](auto, auto&&...) { return REGDB_E_CLASSNOTREG; });
    expectResult(REGDB_E_CLASSNOTREG);
}
