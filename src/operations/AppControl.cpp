#include "operations/AppControl.h"

#include <shlwapi.h>
#include <strsafe.h>

#include "base/DecimalText.h"
#include "base/GlobalVars.h"
#include "base/Log.h"
#include "fs/FilePrimitives.h"
#include "operations/Progress.h"
#include "processes/Launch.h"
#include "processes/ProcessControl.h"
#include "services/Shortcut.h"
#include "services/Version.h"

int GetCurrentAppVersion(Version& version) {
    std::string content;
    if (ReadTextFile(globalVars.versionFilePath, content) < 0) {
        installAppLog.Error(L"GetCurrentAppVersion: error of read version file '" +
                            globalVars.versionFilePath + L"': " + LastErrorText());
        return -1;
    }
    version.Parse(content.c_str());
    return 0;
}

std::uint64_t CurrentUnixMilliseconds() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::uint64_t ticks =
        static_cast<std::uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    // From 100-nanosecond units since 1601.
    return ticks / 10000 - 11644473600000ULL;
}

std::wstring ComposeStartArguments(const wchar_t* arguments, bool startInvisible,
                                   const std::wstring& appStartArgs, std::uint64_t startTime) {
    constexpr wchar_t timeFlag[] = L"--app-start-time=";
    std::wstring text;
    if (arguments != nullptr) {
        text += std::wstring(L" ") + arguments;
    }
    if (startInvisible) {
        text += L" --startup-app";
    }
    if (!appStartArgs.empty()) {
        text += L" " + appStartArgs;
    }
    if (text.find(timeFlag) == std::wstring::npos) {
        text += std::wstring(L" ") + timeFlag + DecimalText(startTime);
    }
    return text;
}

bool ComposeInstallFlag(const std::wstring& moduleName, bool isOffline, std::wstring& flag) {
    const wchar_t* offlineFlag = isOffline ? L"--is-offline-install" : L"";
    constexpr int flagLength = 260;
    wchar_t text[flagLength];
    const HRESULT result =
        moduleName.empty() ? StringCchPrintfW(text, flagLength, L"--install-app %s", offlineFlag)
                           : StringCchPrintfW(text, flagLength, L"--install-app=\"%s\" %s",
                                              moduleName.c_str(), offlineFlag);
    flag = text;
    return SUCCEEDED(result);
}

void CProgressObject::CloseRunningApp(std::wstring excludeName) {
    const wchar_t* appExeName = globalVars.appExeName.c_str();
    const std::wstring& starter = globalVars.starterPath;
    if (PathFileExistsW(starter.c_str()) && GetRunProcessCount(appExeName) != 0 &&
        ExecuteApp(starter.c_str(), L"--kill-app", 0, false) == 0) {
        WaitAppForCloseByPath(globalVars.installDir);
    }
    KillAllProcessesByNameOrPath(appExeName, globalVars.installDir, excludeName);
    // Leaves the number of those that remain in the log.
    GetRunProcessCount(appExeName);
}

void CProgressObject::StartApp(const wchar_t* arguments) {
    const std::uint64_t startTime = CurrentUnixMilliseconds();
    const std::wstring text = ComposeStartArguments(arguments, globalVars.startAppInvisible != 0,
                                                    globalVars.appStartArgs, startTime);
    ExecuteApp(globalVars.starterPath.c_str(), text.c_str(), 0, false);
}

void CProgressObject::StartInstalledApp() {
    std::wstring flag;
    if (!ComposeInstallFlag(globalVars.moduleName, globalVars.isOffline, flag)) {
        return;
    }
    StartApp(flag.c_str());
    WaitForAppOpen(globalVars.appExeName.c_str());
}

int CProgressObject::CreateAppShortcut() {
    const std::wstring description = globalVars.appDirName + L"link";
    const HRESULT result = CreateShortCut(
        globalVars.starterPath.c_str(), globalVars.uninstallExePath.c_str(), description.c_str(),
        globalVars.installDir.c_str(), globalVars.appDisplayName.c_str());
    return FAILED(result) ? -1 : 0;
}
