#include "startup/Roles.h"

#include <windows.h>
#include <shlobj.h>
#include <stdlib.h>

#include <gtest/gtest.h>

#include <future>

#include "diagnostics/Log.h"
#include "startup/GlobalVars.h"
#include "startup/OwnPath.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

namespace {

std::wstring startedLine;

BOOL WINAPI RecordProcess(LPCWSTR, LPWSTR commandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES,
                          BOOL, DWORD, LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) {
    startedLine = commandLine;
    return FALSE;
}

void WINAPI NoSleep(DWORD) {}

std::wstring ModulePath() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring CurrentDirectory() {
    wchar_t path[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, path);
    return path;
}

class Roles : public testing::Test {
  protected:
    Roles() {
        startedLine.clear();
        globalVars.uninstallExeName = L"App.uninstall.exe";
    }
    ~Roles() override {
        SetCurrentDirectoryW(directory.c_str());
        globalVars = GlobalVars();
    }

    std::wstring directory = CurrentDirectory();
    ScratchFolder scratch;
    TempVariable temp{scratch.path};
    ImportPatch createProcess{"kernel32.dll", "CreateProcessW", AsProc(&RecordProcess)};
    LogCapture log;
};

}  // namespace

TEST_F(Roles, TheUninstallerGoesOnAsACopy) {
    // The copy does not depend on where the program stands.
    SetTempDirAsCurrent();
    EXPECT_EQ(CurrentDirectory(), scratch.path);
    EXPECT_EQ(CopyAndRestartItself(), 0);
    EXPECT_EQ(startedLine, L"\"" + (scratch / L"App.uninstall.exe") + L"\" --uninstall");
    EXPECT_TRUE(ReadFileText(scratch / L"App.uninstall.exe") == ReadFileText(ModulePath()));
    EXPECT_EQ(log.Lines().find(L"INFO Main CopyAndRestartItself\n"), 0u);
}

TEST_F(Roles, ARunningCopyIsLeftAlone) {
    const std::wstring own = ModulePath();
    globalVars.uninstallExeName = own.substr(own.rfind(L'\\') + 1);
    EXPECT_EQ(CopyAndRestartItself(), 0);
    EXPECT_EQ(startedLine, L"");
    EXPECT_FALSE(Exists(scratch / globalVars.uninstallExeName));
}

TEST_F(Roles, NothingStartsWhenTheCopyFails) {
    const std::wstring line = L"ERROR Main CopyAndRestartItself: error of ";
    {
        const TempVariable tooLong(L"C:\\" + std::wstring(250, L't'));
        EXPECT_EQ(CopyAndRestartItself(), -1);
        EXPECT_TRUE(log.Has(line + L"StringCchPrintf: " + ErrorText(ERROR_INSUFFICIENT_BUFFER)));
    }
    {
        const TempVariable tooLong(L"C:\\" + std::wstring(300, L't'));
        EXPECT_EQ(CopyAndRestartItself(), -1);
        EXPECT_EQ(log.Count(line + L"GetTempPath: ["), 1);
    }
    {
        const FailingCall noTemp("kernel32.dll", "GetTempPathW", &GetTempPathW, 0);
        EXPECT_EQ(CopyAndRestartItself(), -1);
        EXPECT_TRUE(log.Has(line + L"GetTempPath: " + ErrorText(ERROR_NOT_ENOUGH_MEMORY)));
        SetTempDirAsCurrent();
        EXPECT_EQ(CurrentDirectory(), L"C:\\");
        SetCurrentDirectoryW(directory.c_str());
    }
    WriteFileText(scratch / globalVars.uninstallExeName, "held");
    const HeldOpen held(scratch / globalVars.uninstallExeName);
    const ImportPatch sleep("kernel32.dll", "Sleep", AsProc(&NoSleep));
    EXPECT_EQ(CopyAndRestartItself(), -1);
    EXPECT_EQ(log.Count(line), 3) << "the copy has logged its own failure";
    EXPECT_EQ(startedLine, L"");
}

TEST_F(Roles, TheListingNamesBothFoldersInTheirOrder) {
    WriteFileText(scratch / L"update\\held.bin", "x");
    const HeldOpen held(scratch / L"update\\held.bin");
    const std::wstring update = scratch / L"update";
    globalVars.installDir = scratch / L"installed";
    globalVars.updateFilesPath = update.c_str();
    EXPECT_TRUE(ListOpenedFiles());
    const std::wstring lines = log.Lines();
    const std::size_t second = lines.find(L"INFO Main Opened files in [" + update + L"]\n[");
    ASSERT_NE(second, std::wstring::npos);
    EXPECT_LT(lines.find(L"INFO Main Opened files in [" + globalVars.installDir + L"]\n\n"),
              second);
    EXPECT_NE(lines.find(L"\\update\\held.bin]\n", second), std::wstring::npos);

    const LogCapture afterwards;
    const FailingCall noFolder("shell32.dll", "SHGetFolderPathW", &SHGetFolderPathW, E_FAIL);
    EXPECT_FALSE(ListOpenedFiles());
    EXPECT_EQ(afterwards.Lines(), L"");
}

TEST(OwnPath, IsTheModulesOrElseArgumentZero) {
    EXPECT_EQ(OwnPath(), ModulePath());
    const FailingCall noName("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
    EXPECT_EQ(OwnPath(), __wargv[0]);
}

TEST(WaitForProcess, ReturnsWhenTheProcessHasEnded) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    wchar_t commandLine[] = L"cmd.exe /c rem";
    ASSERT_TRUE(CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, CREATE_SUSPENDED,
                               nullptr, nullptr, &startup, &child));
    const auto wait = std::async(std::launch::async, WaitForProcess, child.dwProcessId);
    EXPECT_EQ(wait.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    TerminateProcess(child.hProcess, 0);
    EXPECT_EQ(wait.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
    // One that is gone is not waited for.
    WaitForProcess(0x7ffffff0);
}
