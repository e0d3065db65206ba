#include "services/SelfDelete.h"

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "support/FailingCall.h"
#include "support/TempVariable.h"

namespace {

class SelfDeleteTest : public testing::Test {
  protected:
    const Scene scene;
    const TempVariable temp = TempVariable(scene.folder.path);
    const std::wstring script = scene / L"lumentra.selfdel.cmd";
};

}  // namespace

// What the script does is seen in the scenarios.
TEST_F(SelfDeleteTest, StartsTheScriptHiddenOnAPlainPath) {
    const std::wstring plain = scene / L"Name.uninstall.exe", special = scene / L"A & B.exe";
    const std::wstring missing = L"C:\\Te mp\\Name.uninstall.exe";
    const std::wstring id = std::to_wstring(GetCurrentProcessId());
    const std::wstring moved = L"lumentra.selfdel." + id + L".exe";
    WriteFileText(special, "of this run");
    WriteFileText(scene / moved, "left by another one with this id");
    // Longer than the script, and hidden.
    WriteFileText(script, std::string(300, 'x'));
    SetFileAttributesW(script.c_str(), FILE_ATTRIBUTE_HIDDEN);
    std::vector<std::wstring> expected;
    for (const auto& [path, named] :
         {std::pair{plain, plain}, {special, moved}, {missing, missing}}) {
        SelfDelete(path.c_str());
        expected.push_back(L"hidden \"" + script + L"\" " + id + L" \"" + named + L"\" >nul 2>nul");
    }
    EXPECT_EQ(scene.started, expected);
    EXPECT_EQ(ReadFileText(script).size(), 212U);
    EXPECT_EQ(GetFileAttributesW(script.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    EXPECT_FALSE(Exists(special));
    EXPECT_EQ(ReadFileText(scene / moved), "of this run");
}

TEST_F(SelfDeleteTest, StartsNothingWithoutAScript) {
    {
        const FailingCall full("kernel32.dll", "WriteFile", &WriteFile, FALSE);
        WriteFileText(scene / L"A & B.exe", "");
        SelfDelete((scene / L"A & B.exe").c_str());
        EXPECT_FALSE(Exists(script)) << "a part of it stays";
        EXPECT_TRUE(Exists(scene / L"A & B.exe")) << "moved without a script";
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
