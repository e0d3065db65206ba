#include "operations/AppControl.h"

#include <windows.h>

#include <ctime>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "fs/Scene.h"
#include "operations/OfflineArchive.h"
#include "operations/Progress.h"
#include "services/Version.h"
#include "startup/GlobalVars.h"
#include "startup/PathBuffers.h"
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
    const struct {
        std::wstring moduleName;
        bool isOffline, fits;
        std::wstring expected;
    } cases[] = {
        {L"setup", false, true, L"--install-app=\"setup\" "},
        {L"set up", true, true, L"--install-app=\"set up\" --is-offline-install"},
        {L"", false, true, L"--install-app "},
        {L"", true, true, L"--install-app --is-offline-install"},
        {std::wstring(242, L'n'), false, true,
         L"--install-app=\"" + std::wstring(242, L'n') + L"\" "},
        {std::wstring(243, L'n'), false, false, L""},
        {std::wstring(223, L'n'), true, false, L""},
    };
    for (const auto& [moduleName, isOffline, fits, expected] : cases) {
        std::wstring flag;
        EXPECT_EQ(ComposeInstallFlag(moduleName, isOffline, flag), fits);
        EXPECT_EQ(fits ? flag : L"", expected);
    }
}

namespace {

class AppControlTest : public testing::Test {
  protected:
    AppControlTest() {
        wchar_t own[MAX_PATH];
        GetModuleFileNameW(nullptr, own, MAX_PATH);
        vars.appExeName = wcsrchr(own, L'\\') + 1;
        vars.installDir = scene / L"app";
        vars.starterPath = vars.installDir + L"\\Starter.exe";
        vars.versionFilePath = vars.installDir + L"\\version";
        progress.vars = &vars;
        WriteFileText(vars.starterPath, "");
    }

    Scene scene;
    GlobalVars vars;
    CProgressObject progress;
};

}  // namespace

TEST_F(AppControlTest, AsksTheStarterToCloseARunningApp) {
    // This process stands for the application; it is never ended.
    progress.CloseRunningApp(L"");
    EXPECT_EQ(scene.started, std::vector{L"\"" + vars.starterPath + L"\" --kill-app"});
    DeleteFileW(vars.starterPath.c_str());
    progress.CloseRunningApp(L"");
    WriteFileText(vars.starterPath, "");
    vars.appExeName = L"not-running.exe";
    progress.CloseRunningApp(L"");
    EXPECT_EQ(scene.started.size(), 1u);
    EXPECT_TRUE(scene.pauses.empty());
}

TEST_F(AppControlTest, StartsTheInstalledApp) {
    vars.moduleName = L"setup";
    vars.isOffline = true;
    vars.startAppInvisible = 1;
    const auto before = static_cast<std::uint64_t>(std::time(nullptr)) * 1000;
    progress.StartInstalledApp();
    ASSERT_EQ(scene.started.size(), 1u);
    const std::wstring head =
        L"\"" + vars.starterPath +
        L"\"  --install-app=\"setup\" --is-offline-install --startup-app --app-start-time=";
    EXPECT_EQ(scene.started[0].substr(0, head.size()), head);
    const std::uint64_t time = std::stoull(scene.started[0].substr(head.size()));
    EXPECT_GE(time, before);
    EXPECT_LE(time, before + 60000);
    EXPECT_TRUE(scene.log.Has(L"WaitForAppOpen: Timeout!")) << "the app was not waited for";

    vars.moduleName = std::wstring(300, L'n');
    progress.StartInstalledApp();
    EXPECT_EQ(scene.started.size(), 1u);
}

TEST_F(AppControlTest, ReadsTheVersionFile) {
    Version version;
    for (const auto& [content, expected] :
         {std::pair("1.2.3", "1.2.3"), std::pair("rubbish", "-1.-1.-1"),
          std::pair("2.0", "2.0.-1")}) {
        WriteFileText(vars.versionFilePath, content);
        EXPECT_EQ(GetCurrentAppVersion(&vars, version), 0);
        EXPECT_EQ(version.text, expected);
    }
    {
        const HeldOpen held(vars.versionFilePath);
        EXPECT_EQ(GetCurrentAppVersion(&vars, version), -1);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION}) << "for the report";
        EXPECT_EQ(version.text, "2.0.-1");
        EXPECT_TRUE(
            scene.log.Has(L"ERROR InstallApp GetCurrentAppVersion: error of read version file '" +
                          vars.versionFilePath + L"': " + ErrorText(ERROR_SHARING_VIOLATION)));
    }
    DeleteFileW(vars.versionFilePath.c_str());
    EXPECT_EQ(GetCurrentAppVersion(&vars, version), 0);
    EXPECT_EQ(version.text, "-1.-1.-1");
}

TEST_F(AppControlTest, ExtractsTheArchiveOrTellsTheStep) {
    // Without a resource of its own the program gets one here, or a failure.
    std::string failing;
    char content[] = "archive\0with a null";
    const auto answer = [&](const char* call, void* result) {
        SetLastError(ERROR_DISK_FULL);
        return failing == call ? nullptr : result;
    };
    const Replaced calls[] = {
        Replace("kernel32.dll", "FindResourceW", FindResourceW,
                [&](auto, auto, LPCWSTR name, LPCWSTR type) {
                    EXPECT_EQ(name, MAKEINTRESOURCEW(199));
                    EXPECT_STREQ(type, L"DISTR");
                    return static_cast<HRSRC>(answer("FindResource", content));
                }),
        Replace("kernel32.dll", "LoadResource", LoadResource,
                [&](auto, auto...) { return answer("LoadResource", content); }),
        Replace("kernel32.dll", "LockResource", LockResource,
                [&](auto, auto) { return answer("LockResource", content); }),
        Replace("kernel32.dll", "SizeofResource", SizeofResource,
                [&](auto, auto...) { return sizeof content; }),
        Replace("kernel32.dll", "CreateFileW", CreateFileW,
                [&](auto real, auto... rest) {
                    return failing == "CreateFile" ? answer("", INVALID_HANDLE_VALUE)
                                                   : real(rest...);
                }),
        Replace("kernel32.dll", "WriteFile", WriteFile, [&](auto real, auto... rest) {
            return failing == "WriteFile" ? answer("WriteFile", nullptr) != nullptr : real(rest...);
        })};
    SetPath(tempArchivePath, scene / L"a.zip");
    for (const char* call :
         {"FindResource", "LoadResource", "LockResource", "CreateFile", "WriteFile"}) {
        failing = call;
        const LogCapture log;
        EXPECT_FALSE(CheckAndExtractAppArchive()) << call;
        EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
        EXPECT_EQ(log.Lines(), L"ERROR InstallApp CheckAndExtractAppArchive: error of " +
                                   std::wstring(call, call + failing.size()) + L": " +
                                   ErrorText(ERROR_DISK_FULL) + L"\n");
        EXPECT_EQ(Exists(tempArchivePath), failing == "WriteFile");
    }
    failing.clear();
    WriteFileText(tempArchivePath, std::string(100, 'x'));
    EXPECT_TRUE(CheckAndExtractAppArchive());
    EXPECT_EQ(ReadFileText(tempArchivePath), std::string(content, sizeof content));
    EXPECT_TRUE(scene.log.Lines().ends_with(
        L"INFO InstallApp CheckAndExtractAppArchive: It's offline. Extract done.\n"));
}
