#include "services/SelfDelete.h"

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "services/HiddenStarts.h"
#include "support/TempVariable.h"

namespace {

constexpr char scriptText[] =
    ":waitforpid\r\n"
    "tasklist /fi \"pid eq %1\" 2>nul | findstr \"%1\" >nul\r\n"
    "if %ERRORLEVEL%==0 (\r\n"
    "  timeout /t 1 /nobreak >nul\r\n"
    "  goto :waitforpid\r\n"
    ")\r\n"
    "del /q /f \"%2\"\r\n"
    "del /q /f /a:h \"%2\"\r\n"
    "del /q /f \"%0\"\r\n"
    "del /q /f /a:h \"%0\"";

class SelfDeleteTest : public testing::Test {
  protected:
    const Scene scene;
    const Replaced hidden = ExpectHiddenStarts();
    const TempVariable temp = TempVariable(scene.folder.path);
    const std::wstring script = scene / L"lumentra.selfdel.cmd";
};

}  // namespace

TEST_F(SelfDeleteTest, LeavesAHiddenScriptBehind) {
    const std::wstring commandLine = L"\"" + script + L"\" " +
                                     std::to_wstring(GetCurrentProcessId()) +
                                     L" \"C:\\Te mp\\Name.uninstall.exe\" >nul 2>nul";
    for (const std::string& before : {std::string(), std::string(300, 'x')}) {
        WriteFileText(script, before);
        SetFileAttributesW(script.c_str(), FILE_ATTRIBUTE_HIDDEN);
        SelfDelete(L"C:\\Te mp\\Name.uninstall.exe");
        EXPECT_EQ(ReadFileText(script), scriptText);
        EXPECT_EQ(GetFileAttributesW(script.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    }
    EXPECT_EQ(ReadFileText(script).size(), 212u);
    EXPECT_EQ(scene.started, (std::vector{commandLine, commandLine}));
}

TEST_F(SelfDeleteTest, StartsNothingWithoutAScript) {
    {
        const Replaced full =
            Replace("kernel32.dll", "WriteFile", WriteFile, [](auto, auto...) { return FALSE; });
        SelfDelete(L"C:\\x.exe");
        EXPECT_FALSE(Exists(script)) << "a part of it stays";
    }
    WriteFileText(script, "held");
    {
        const HeldOpen held(script);
        SelfDelete(L"C:\\x.exe");
    }
    EXPECT_EQ(ReadFileText(script), "held");
    // Separator, name and terminator take 22 of the 260 characters.
    const std::wstring longest = L"C:\\" + std::wstring(235, L'a');
    const LogCapture log;
    for (const std::wstring& more : {std::wstring(L"a"), std::wstring(50, L'a')}) {
        const TempVariable tooLong(longest + more);
        SelfDelete(L"C:\\x.exe");
    }
    SelfDelete(std::wstring(250, L'a').c_str());
    {
        const Replaced none =
            Replace("kernel32.dll", "GetTempPathW", GetTempPathW, [](auto, auto...) { return 0; });
        SelfDelete(L"C:\\x.exe");
    }
    EXPECT_EQ(log.Lines(), L"");
    // The longest that fits gets as far as the write, for which there is no folder.
    const TempVariable fits(longest);
    SelfDelete(L"C:\\x.exe");
    EXPECT_TRUE(log.Has(L"SHRemoveObject: " + longest + L"\\lumentra.selfdel.cmd\n"));
    EXPECT_TRUE(scene.started.empty());
}
