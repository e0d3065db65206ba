#include "operations/AppControl.h"

#include <windows.h>

#include <ctime>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "operations/OfflineArchive.h"
#include "services/Version.h"
#include "startup/GlobalVars.h"
#include "startup/PathBuffers.h"
#include "support/Replace.h"
#include "support/Scratch.h"
#include "support/SetPath.h"

TEST(ComposeStartArguments, PutsThePartsInOrder) {
    const struct {
        const wchar_t* arguments;
        bool isInvisible;
        const wchar_t *appStartArgs, *expected;
    } cases[] = {
        {nullptr, false, L"", L" --app-start-time=1767225600123"},
        {L"--update-app", false, L"", L" --update-app --app-start-time=1767225600123"},
        {L"--update-app", true, L"--a \"b c\"",
         L" --update-app --startup-app --a \"b c\" --app-start-time=1767225600123"},
        {nullptr, true, L"--app-start-time=5", L" --startup-app --app-start-time=5"},
        {L"--app-start-time=", false, L"x", L" --app-start-time= x"},
    };
    for (const auto& [arguments, isInvisible, appStartArgs, expected] : cases) {
        EXPECT_EQ(ComposeStartArguments(arguments, isInvisible, appStartArgs, 1767225600123),
                  expected);
    }
}

TEST(ComposeInstallFlag, FitsIntoItsBuffer) {
    const std::wstring longest(242, L'n'), longestOffline(222, L'n');
    const struct {
        std::wstring moduleName;
        bool isOffline;
        std::wstring expected;
    } cases[] = {
        {L"setup", false, L"--install-app=\"setup\" "},
        {L"set up", true, L"--install-app=\"set up\" --is-offline-install"},
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

TEST(CurrentUnixMilliseconds, IsUtc) {
    const auto now = static_cast<std::uint64_t>(std::time(nullptr)) * 1000;
    EXPECT_LE(CurrentUnixMilliseconds() - now, 60000u);
}

TEST(GetCurrentAppVersion, ReadsTheVersionFile) {
    const ScratchFolder scratch;
    GlobalVars vars;
    vars.versionFilePath = scratch / L"version";
    Version version;
    for (const auto& [content, expected] :
         {std::pair("1.2.3", "1.2.3"), {"rubbish", "-1.-1.-1"}, {"2.0", "2.0.-1"}}) {
        WriteFileText(vars.versionFilePath, content);
        EXPECT_EQ(GetCurrentAppVersion(&vars, version), 0);
        EXPECT_EQ(version.text, expected);
    }
    {
        const HeldOpen held(vars.versionFilePath);
        const LogCapture log;
        EXPECT_EQ(GetCurrentAppVersion(&vars, version), -1);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION}) << "for the report";
        EXPECT_EQ(version.text, "2.0.-1");
        EXPECT_EQ(log.Lines(),
                  L"ERROR InstallApp GetCurrentAppVersion: error of read version file '" +
                      vars.versionFilePath + L"': " + ErrorText(ERROR_SHARING_VIOLATION) + L"\n");
    }
    DeleteFileW(vars.versionFilePath.c_str());
    EXPECT_EQ(GetCurrentAppVersion(&vars, version), 0);
    EXPECT_EQ(version.text, "-1.-1.-1");
}

TEST(CheckAndExtractAppArchive, WritesTheResourceOrTellsTheStep) {
    // This program has no such resource; the calls give it one, or fail.
    std::wstring failing;
    char content[] = "archive\0with a null";
    const auto answer = [&](const wchar_t* call) -> void* {
        SetLastError(ERROR_DISK_FULL);
        return failing == call ? nullptr : content;
    };
    const auto find = [&](auto, auto, LPCWSTR name, const std::wstring& type) {
        EXPECT_TRUE(name == MAKEINTRESOURCEW(199) && type == L"DISTR");
        return static_cast<HRSRC>(answer(L"FindResource"));
    };
    const auto load = [&](auto, auto...) { return answer(L"LoadResource"); };
    const auto lock = [&](auto, auto) { return answer(L"LockResource"); };
    const auto size = [&](auto, auto...) { return sizeof content; };
    const auto write = [&](auto real, auto... rest) {
        return answer(L"WriteFile") != nullptr && real(rest...);
    };
    const Replaced calls[] = {
        Replace("kernel32.dll", "FindResourceW", FindResourceW, find),
        Replace("kernel32.dll", "LoadResource", LoadResource, load),
        Replace("kernel32.dll", "LockResource", LockResource, lock),
        Replace("kernel32.dll", "SizeofResource", SizeofResource, size),
        Replace("kernel32.dll", "WriteFile", WriteFile, write),
    };
    const ScratchFolder scratch;
    const auto expectFailure = [&](const std::wstring& call, DWORD error) {
        failing = call;
        const LogCapture log;
        EXPECT_FALSE(CheckAndExtractAppArchive());
        EXPECT_EQ(GetLastError(), error) << "for the report";
        EXPECT_EQ(log.Lines(), L"ERROR InstallApp CheckAndExtractAppArchive: error of " + call +
                                   L": " + ErrorText(error) + L"\n");
        EXPECT_EQ(Exists(tempArchivePath), call == L"WriteFile");
    };
    SetPath(tempArchivePath, scratch / L"missing\\a.zip");
    expectFailure(L"CreateFile", ERROR_PATH_NOT_FOUND);
    SetPath(tempArchivePath, scratch / L"a.zip");
    for (const wchar_t* call : {L"FindResource", L"LoadResource", L"LockResource", L"WriteFile"}) {
        expectFailure(call, ERROR_DISK_FULL);
    }
    failing.clear();
    WriteFileText(tempArchivePath, std::string(100, 'x'));
    const LogCapture log;
    EXPECT_TRUE(CheckAndExtractAppArchive());
    EXPECT_EQ(ReadFileText(tempArchivePath), std::string(content, sizeof content));
    EXPECT_EQ(log.Lines(),
              L"INFO InstallApp CheckAndExtractAppArchive: It's offline. Extract done.\n");
}
