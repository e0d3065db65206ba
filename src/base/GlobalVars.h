#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// The one process-wide record of the run: the product's identity as the executable's resources
/// give it, every name, address and path derived from it, and the options of the command line.
/// WinMain fills it on the main thread before any other thread exists; from then on it is read
/// without a lock. The one later write is `elevatedCopyStarted`, by the window's thread while the
/// worker waits for the answer to a dialog.
struct GlobalVars {
    HINSTANCE hInstance = nullptr;

    int runInstall = 1;
    int runUninstall = 0;
    int runUpdate = 0;
    int showConsole = 0;
    int moduleIsUninstall = 0;
    int startAppInvisible = 0;
    int isRunAs = 0;
    int generateReport = 0;
    int waitPid = 0;
    int appPid = 0;
    /// Points into the process's argument vector, not owned; null without a value.
    const wchar_t* updateFilesPath = nullptr;
    std::wstring appStartArgs;
    std::wstring moduleName;
    bool elevatedCopyStarted = false;
    bool isOffline = false;

    std::wstring installerLockName;
    std::wstring uninstallerLockName;
    std::wstring uninstallExeName;
    std::wstring windowClassName;
    std::wstring manifestUrl;
    /// The architecture is still to be appended.
    std::wstring offlineInstallerUrl;
    std::wstring manifestFileName;
    std::wstring archiveFileName;
    std::wstring appDirName;
    std::wstring tempDirName;
    std::wstring appExeName;
    std::wstring starterExeName;
    std::wstring shortcutName;
    std::wstring appDisplayName;
    std::wstring serverHost;
    std::uint16_t serverPort = 0;
    DWORD internetFlags = 0;
    std::wstring reportErrorPath;
    std::wstring errorReportFileName;
    std::wstring appGuid;
    std::wstring appName;
    std::wstring installDir;
    std::wstring starterPath;
    std::wstring uninstallExePath;
    std::wstring versionFilePath;

    /// Composes all names and addresses. A missing string resource counts as an empty text.
    void Init();
};

/// Never destroyed. Written as told at the type.
extern GlobalVars& globalVars;

/// Text of a string resource of the executable, at most 259 characters; empty when there is none.
std::wstring LoadStringResource(UINT id);
