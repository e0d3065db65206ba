#include "services/Launch.h"

#include <shellapi.h>
#include <stdlib.h>

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "fs/Scene.h"
#include "processes/ProcessControl.h"
#include "startup/PathBuffers.h"
#include "support/FailingCall.h"
#include "support/SetPath.h"

TEST(ExecuteApp, ComposesTheCommandLine) {
    std::wstring started;
    const Replaced start =
        Replace("kernel32.dll", "CreateProcessW", CreateProcessW,
                [&](auto, LPCWSTR program, LPWSTR line, auto, auto, BOOL inherit, DWORD flags,
                    LPVOID environment, LPCWSTR folder, auto...) {
                    EXPECT_TRUE(program == nullptr && !inherit && environment == nullptr);
                    EXPECT_EQ(flags, 0x8000000u);
                    started = std::wstring(line) + L" in " + (folder ? folder : L"its own");
                    return TRUE;
                });
    const struct {
        const wchar_t *path, *arguments, *commandLine, *folder;
    } cases[] = {
        {L"C:\\a b/x.exe", L"-k \"v w\"", L"\"C:\\a b/x.exe\" -k \"v w\"", L"C:\\a b"},
        {L"C:/a\\x.exe", nullptr, L"\"C:/a\\x.exe\" ", L"C:/a"},
        {L"cmd.exe", L"/c start x", L"\"cmd.exe\" /c start x", L"its own"},
    };
    for (const auto& [path, arguments, commandLine, folder] : cases) {
        EXPECT_EQ(ExecuteApp(path, arguments, 0x8000000, false), 0);
        EXPECT_EQ(started, std::wstring(commandLine) + L" in " + folder);
    }
    EXPECT_EQ(ExecuteApp(nullptr, L"x", 0, false), -1);
}

TEST(ExecuteApp, WaitsForTheProgramInItsFolder) {
    const ScratchFolder scratch;
    const std::wstring copy = scratch / L"copy.exe", missing = scratch / L"missing.exe";
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    ASSERT_TRUE(CopyFileW(own, copy.c_str(), FALSE));
    const wchar_t arguments[] = L"--gtest_filter=None --gtest_output=json:out.json";
    const LogCapture log;
    EXPECT_EQ(ExecuteApp(copy.c_str(), arguments, 0, true), 0);
    EXPECT_NE(ReadFileText(scratch / L"out.json").find("\"tests\": 0"), std::string::npos);
    EXPECT_EQ(ExecuteApp(missing.c_str(), L"", 0, true), -1);
    const std::wstring start = L"INFO Utils ExecuteApp: ";
    EXPECT_EQ(log.Lines(), start + L"[\"" + copy + L"\" " + arguments + L"]\n" + start +
                               L"wait for close...\n" + start + L"Done\n" + start + L"[\"" +
                               missing + L"\" ]\nERROR Utils ExecuteApp: CreateProcess error: " +
                               ErrorText(ERROR_FILE_NOT_FOUND) + L"\n");
}

TEST(RunAs, GivesTheErrorOfACopyThatWasNotStarted) {
    // Without a code it must not be taken for started.
    for (const auto& [error, result] : {std::pair(5, 5u), {0, 1223u}}) {
        const FailingCall prompted("shell32.dll", "ShellExecuteExW", &ShellExecuteExW, FALSE,
                                   error);
        EXPECT_EQ(RunAs(nullptr), result);
    }
    const FailingCall noPath("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
    EXPECT_EQ(RunAs(nullptr), DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

TEST(IsRunAsAdmin, IsFalseWhenItCannotBeFoundOut) {
    const LogCapture log;
    const FailingCall check("advapi32.dll", "CheckTokenMembership", &CheckTokenMembership, FALSE,
                            5);
    EXPECT_FALSE(IsRunAsAdmin());
    const FailingCall noSid("advapi32.dll", "AllocateAndInitializeSid", &AllocateAndInitializeSid,
                            FALSE);
    EXPECT_FALSE(IsRunAsAdmin());
    const std::wstring line = L"ERROR Utils IsRunAsAdmin: exception is raised: ";
    EXPECT_EQ(log.Lines(), line + ErrorText(5) + L"\n" + line + ErrorText(8) + L"\n");
}

// As it is for one who may not open the lock of an elevated first.
TEST(CheckSingleInstance, ALockThatCannotBeHadIsTaken) {
    const FailingCall refused("kernel32.dll", "CreateMutexW", &CreateMutexW, nullptr, 5);
    EXPECT_EQ(CheckSingleInstance(L"test.lock", L"NoSuchWindow"), 1);
}

TEST(WaitForAppOpen, WaitsForFiveProcesses) {
    const ScratchFolder scratch;
    const std::wstring name = L"Counted" + std::to_wstring(GetCurrentProcessId()) + L".exe";
    ASSERT_TRUE(CopyFileW(L"C:\\windows\\timeout.exe", (scratch / name).c_str(), FALSE));
    for (const int count : {4, 5}) {
        for (int started = 0; started < count; ++started) {
            ExecuteApp((scratch / name).c_str(), L"/t 60", 0, false);
        }
        {
            const Scene scene;
            WaitForAppOpen(name.c_str());
            EXPECT_EQ(scene.events, std::string(count == 4 ? 50 : 0, '.') + "~");
            EXPECT_EQ(scene.log.Has(L"WARN Utils WaitForAppOpen: Timeout!\n"), count == 4);
        }
        KillAllProcessesByNameOrPath(name, L"", L"");
    }
}

TEST(WaitForFileAppear, WaitsForTheMarker) {
    const Scene scene;
    SetPath(uninstallEndPath, scene / L"mark");
    WaitForFileAppear();
    WriteFileText(uninstallEndPath, "");
    WaitForFileAppear();
    EXPECT_EQ(scene.events, std::string(100, '.'));
    const std::wstring line = L"Utils WaitForFileAppear: ";
    EXPECT_EQ(scene.Log(), line + L"mark|WARN " + line + L"Timeout!|" + line + L"Done|" + line +
                               L"mark|" + line + L"Done|");
}
