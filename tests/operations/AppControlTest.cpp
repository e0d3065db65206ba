#include "operations/AppControl.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "operations/OfflineArchive.h"
#include "services/Version.h"
#include "startup/GlobalVars.h"
#include "startup/PathBuffers.h"
#include "support/Replace.h"
#include "support/Scratch.h"
#include "support/SetPath.h"

TEST(ComposeInstallFlag, FitsIntoItsBuffer) {
    const std::wstring longest(242, L'n'), longestOffline(222, L'n');
    const struct {
        std::wstring moduleName;
        bool isOffline;
        std::wstring expected;
    } cases[] = {
        {L"", false, L"--install-app "},
        {L"", true, L"--install-app --is-offline-install"},
        {longest, false, L"--install-app=\"" + longest + L"\" "},
        {longestOffline, true, L"--install-app=\"" + longestOffline + L"\" --is-offline-install"},
        {longest + L"n", false, L"does not fit"},
        {longestOffline + L"n", true, L"does not fit"},
    };
    for (const auto& [moduleName, isOffline, expected] : cases) {
        std::wstring flag;
        const bool fits = ComposeInstallFlag(moduleName, isOffline, flag);
        EXPECT_EQ(fits ? flag : L"does not fit", expected);
    }
}

TEST(GetCurrentAppVersion, KeepsTheErrorForTheReport) {
    const ScratchFolder scratch;
    GlobalVars vars;
    vars.versionFilePath = scratch / L"version";
    WriteFileText(vars.versionFilePath, "1.2.3");
    const HeldOpen held(vars.versionFilePath);
    const LogCapture log;
    Version version;
    EXPECT_EQ(GetCurrentAppVersion(&vars, version), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(log.Lines(), L"ERROR InstallApp GetCurrentAppVersion: error of read version file '" +
                               vars.versionFilePath + L"': " + ErrorText(ERROR_SHARING_VIOLATION) +
                               L"\n");
}

TEST(CheckAndExtractAppArchive, KeepsTheErrorForTheReport) {
    // This program has no such resource; the calls give it one, or fail.
    std::wstring failing;
    char content[] = "archive";
    const auto answer = [&](const wchar_t* call) -> void* {
        SetLastError(ERROR_DISK_FULL);
        return failing == call ? nullptr : content;
    };
    const Replaced calls[] = {
        Replace("kernel32.dll", "FindResourceW", FindResourceW,
                [&](auto, auto...) { return static_cast<HRSRC>(answer(L"FindResource")); }),
        Replace("kernel32.dll", "LoadResource", LoadResource,
                [&](auto, auto...) { return answer(L"LoadResource"); }),
        Replace("kernel32.dll", "LockResource", LockResource,
                [&](auto, auto) { return answer(L"LockResource"); }),
        Replace("kernel32.dll", "SizeofResource", SizeofResource,
                [&](auto, auto...) { return sizeof content; }),
        Replace("kernel32.dll", "WriteFile", WriteFile,
                [&](auto, auto...) { return answer(L"WriteFile") != nullptr; }),
    };
    const ScratchFolder scratch;
    const struct {
        const wchar_t* call;
        const wchar_t* target = L"a.zip";
        DWORD error = ERROR_DISK_FULL;
    } cases[] = {{L"FindResource"},
                 {L"LoadResource"},
                 {L"LockResource"},
                 {L"WriteFile"},
                 {L"CreateFile", L"missing\\a.zip", ERROR_PATH_NOT_FOUND}};
    for (const auto& row : cases) {
        failing = row.call;
        SetPath(tempArchivePath, scratch / row.target);
        const LogCapture log;
        EXPECT_FALSE(CheckAndExtractAppArchive());
        EXPECT_EQ(GetLastError(), row.error);
        EXPECT_EQ(log.Lines(), L"ERROR InstallApp CheckAndExtractAppArchive: error of " + failing +
                                   L": " + ErrorText(row.error) + L"\n");
    }
}
