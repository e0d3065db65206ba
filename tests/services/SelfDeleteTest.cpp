#include "services/SelfDelete.h"

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "support/FailingCall.h"
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
    const TempVariable temp = TempVariable(scene.folder.path);
    const std::wstring script = scene / L"lumentra.selfdel.cmd";
};

}  // namespace

TEST_F(SelfDeleteTest, LeavesAHiddenScriptBehind) {
    // Longer than the script, and hidden.
    WriteFileText(script, std::string(300, 'x'));
    SetFileAttributesW(script.c_str(), FILE_ATTRIBUTE_HIDDEN);
    SelfDelete(L"C:\\Te mp\\Name.uninstall.exe");
    EXPECT_EQ(ReadFileText(script), scriptText);
    EXPECT_EQ(GetFileAttributesW(script.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    EXPECT_EQ(scene.started,
              std::vector{L"hidden \"" + script + L"\" " + std::to_wstring(GetCurrentProcessId()) +
                          L" \"C:\\Te mp\\Name.uninstall.exe\" >nul 2>nul"});
}

TEST_F(SelfDeleteTest, StartsNothingWithoutAScript) {
    {
        const FailingCall full("kernel32.dll", "WriteFile", &WriteFile, FALSE);
        SelfDelete(L"C:\\x.exe");
        EXPECT_FALSE(Exists(script)) << "a part of it stays";
    }
    // Separator, name and terminator take 22 of the 260 characters.
    const std::wstring longest = L"C:\\" + std::wstring(235, L'a');
    const LogCapture log;
    for (const std::size_t more : {1, 50}) {
        const TempVariable tooLong(longest + std::wstring(more, L'a'));
        SelfDelete(L"C:\\x.exe");
    }
    SelfDelete(std::wstring(250, L'a').c_str());
    EXPECT_EQ(log.Lines(), L"");
    EXPECT_TRUE(scene.started.empty());
}
