#include "startup/Roles.h"

#include <windows.h>
#include <shlobj.h>
#include <stdlib.h>

#include <gtest/gtest.h>

#include <utility>

#include "diagnostics/Log.h"
#include "startup/GlobalVars.h"
#include "startup/OwnPath.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

namespace {

std::wstring CurrentDirectory() {
    wchar_t path[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, path);
    return path;
}

}  // namespace

// What the roles do when nothing fails is seen in the scenarios.

TEST(Roles, WithoutATemporaryFolderThereIsNoCopy) {
    globalVars.uninstallExeName = L"App.uninstall.exe";
    const std::wstring line = L"ERROR Main CopyAndRestartItself: error of ";
    {
        const TempVariable tooLong(L"C:\\" + std::wstring(250, L't'));
        const LogCapture log;
        EXPECT_EQ(CopyAndRestartItself(), -1);
        EXPECT_TRUE(log.Has(line + L"StringCchPrintf: " + ErrorText(ERROR_INSUFFICIENT_BUFFER)));
    }
    const std::wstring directory = CurrentDirectory();
    for (const DWORD length : {0, 300}) {
        const FailingCall noTemp("kernel32.dll", "GetTempPathW", &GetTempPathW, length);
        const LogCapture log;
        EXPECT_EQ(CopyAndRestartItself(), -1);
        EXPECT_TRUE(log.Has(line + L"GetTempPath: " + ErrorText(ERROR_NOT_ENOUGH_MEMORY)));
        SetTempDirAsCurrent();
        EXPECT_EQ(CurrentDirectory(), L"C:\\");
        SetCurrentDirectoryW(directory.c_str());
    }
    globalVars = GlobalVars();
}

TEST(Roles, WithoutAFolderThereIsNoListing) {
    const LogCapture log;
    const FailingCall noFolder("shell32.dll", "SHGetFolderPathW", &SHGetFolderPathW, E_FAIL);
    EXPECT_FALSE(ListOpenedFiles());
    EXPECT_EQ(log.Lines(), L"");
}

TEST(OwnPath, IsTheModulesOrElseTheFullFormOfArgumentZero) {
    wchar_t module[MAX_PATH];
    GetModuleFileNameW(nullptr, module, MAX_PATH);
    EXPECT_EQ(OwnPath(), module);
    wchar_t relative[] = L"a.exe";
    wchar_t* const own = std::exchange(__wargv[0], relative);
    {
        const FailingCall noName("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
        RememberOwnPath();
    }
    EXPECT_EQ(OwnPath(), CurrentDirectory() + L"\\a.exe");
    __wargv[0] = own;
    RememberOwnPath();
}
