#include "startup/PathBuffers.h"

#include <gtest/gtest.h>

#include "startup/GlobalVars.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

// Where the paths lead is seen in the scenarios.

TEST(BuildPaths, UnpacksIntoTheTemporaryOrTheUpdateFolder) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    GlobalVars vars;
    vars.tempDirName = L"App.TEMP";
    WriteFileText(scratch / L"folder\\update.zip", "zip");
    const std::pair<std::wstring, std::wstring> cases[] = {
        {scratch / L"folder\\update.zip", scratch / L"App.TEMP"},
        {scratch / L"folder", scratch / L"folder"},
        // What cannot be read counts as a folder.
        {scratch / L"missing", scratch / L"missing"},
    };
    for (const auto& [updatePath, extracted] : cases) {
        EXPECT_EQ(BuildPaths(&vars, updatePath.c_str()), 0);
        EXPECT_EQ(extractDir, extracted);
        EXPECT_EQ(extractPackageJsonPath, extracted + L"\\resources\\app\\package.json");
    }
}

TEST(BuildPaths, FailsWhenAPathDoesNotFit) {
    GlobalVars vars;
    vars.manifestFileName = L"app-manifest.json";
    // Leaves room for a backslash, the manifest's name and the terminator.
    const std::wstring longest = L"C:\\" + std::wstring(260 - 3 - 1 - 17 - 1, L't');
    for (const auto& [folder, result] :
         {std::pair(longest, 0), {longest + L"t", -1}, {longest + std::wstring(40, L't'), -1}}) {
        const TempVariable longTemp(folder);
        EXPECT_EQ(BuildPaths(&vars, L"C:\\"), result) << folder.size();
    }
    vars.installDir = std::wstring(260 - 14 - 1, L'i');
    EXPECT_EQ(BuildPaths(&vars, nullptr), 0);
    vars.installDir += L"i";
    EXPECT_EQ(BuildPaths(&vars, nullptr), -1);
    vars.installDir.clear();
    for (const DWORD length : {0, 300}) {
        const FailingCall noTemp("kernel32.dll", "GetTempPathW", &GetTempPathW, length);
        EXPECT_EQ(BuildPaths(&vars, nullptr), -1);
    }
}
