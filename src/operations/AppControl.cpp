#include "operations/AppControl.h"

#include <shlwapi.h>
#include <strsafe.h>

#include "diagnostics/DecimalText.h"
#include "diagnostics/Log.h"
#include "fs/FilePrimitives.h"
#include "operations/Progress.h"
#include "processes/ProcessControl.h"
#include "services/Launch.h"
#include "services/Shortcut.h"
#include "services/Version.h"
#include "startup/GlobalVars.h"

int GetCurrentAppVersion(const GlobalVars* vars, Version& version) {
    std::string content;
    if (ReadTextFile(vars->versionFilePath, content) < 0) {
        const DWORD error = GetLastError();
        installAppLog.Error(L"GetCurrentAppVersion: error of read version file '" +
                            vars->versionFilePath + L"': " + ErrorText(error));
        SetLastError(error);
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
    wchar_t text[260];
    const HRESULT result = moduleName.empty()
                               ? StringCchPrintfW(text, 260, L"--install-app %s", offlineFlag)
                               : StringCchPrintfW(text, 260, L"--install-app=\"%s\" %s",
                                                  moduleName.c_str(), offlineFlag);
    flag = text;
    return SUCCEEDED(result);
}

void CProgressObject::CloseRunningApp(std::wstring excludeName) {
    const wchar_t* appExeName = vars->appExeName.c_str();
    const std::wstring& starter = vars->starterPath;
    if (PathFileExistsW(starter.c_str()) && GetRunProcessCount(appExeName) != 0 &&
        ExecuteApp(starter.c_str(), L"--kill-app", 0, false) == 0) {
        WaitAppForCloseByPath(vars->installDir);
    }
    KillAllProcessesByNameOrPath(appExeName, vars->installDir, excludeName);
    // Leaves the number of those that remain in the log.
    GetRunProcessCount(appExeName);
}

void CProgressObject::StartApp(const wchar_t* arguments) {
    const std::uint64_t startTime = CurrentUnixMilliseconds();
    const std::wstring text = ComposeStartArguments(arguments, vars->startAppInvisible != 0,
                                                    vars->appStartArgs, startTime);
    ExecuteApp(vars->starterPath.c_str(), text.c_str(), 0, false);
}

void CProgressObject::StartInstalledApp() {
    std::wstring flag;
    if (!ComposeInstallFlag(vars->moduleName, vars->isOffline, flag)) {
        return;
    }
    StartApp(flag.c_str());
    WaitForAppOpen(vars->appExeName.c_str());
}

int CProgressObject::CreateAppShortcut() {
    const std::wstring description = vars->appDirName + L"link";
    const HRESULT result =
        CreateShortCut(vars->starterPath.c_str(), vars->uninstallExePath.c_str(),
                       description.c_str(), vars->installDir.c_str(), vars->appDisplayName.c_str());
    return FAILED(result) ? -1 : 0;
}
