#include <windows.h>
#include <shlwapi.h>

#include <string>

#include "base/GlobalVars.h"
#include "base/PathBuffers.h"
#include "diagnostics/SystemInfo.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "operations/AppControl.h"
#include "operations/Progress.h"
#include "processes/Launch.h"
#include "services/ExplorerWindows.h"
#include "services/Shortcut.h"
#include "services/UninstallEntry.h"
#include "services/Version.h"

namespace {

void NoteRegisteredVersion() {
    wchar_t text[installedVersionLength];
    if (ReadInstalledVersion(globalVars.appGuid.c_str(), text) >= 0) {
        Version registeredVersion;
        registeredVersion.Parse(std::wstring(text));
        SetReportNewVersion(registeredVersion.wideText);
    }
}

void LetAppCleanUp(CProgressObject& progress) {
    if (PathFileExistsW(uninstallEndPath)) {
        SHRemoveObject(uninstallEndPath, false);
    }
    progress.StartApp(L"--uninstall-app");
    WaitForFileAppear(uninstallEndPath);
}

// The pin tool lies in the version's folder, so this comes before the removal.
void Unpin() {
    Version installedVersion;
    if (PathFileExistsW(globalVars.versionFilePath.c_str()) &&
        GetCurrentAppVersion(installedVersion) == 0) {
        UnpinFromTaskbar((globalVars.installDir + L"\\" + installedVersion.wideText).c_str());
    }
}

void RemoveFiles(CProgressObject& progress) {
    CloseWindowsExplorerWindowsForPath(globalVars.installDir.c_str());
    progress.CloseRunningApp(L"");
    progress.SetPercent(30);
    RemoveDir(globalVars.installDir.c_str());
    progress.SetPercent(60);
    RemoveDir(appDataDir);
    progress.SetPercent(80);
    SHRemoveObject(extractDir, false);
}

void Unregister() {
    wchar_t key[MAX_PATH];
    // Without the product's own name the path would be that of all products' entries.
    if (!globalVars.appGuid.empty() && FormatUninstallKey(globalVars.appGuid.c_str(), key) >= 0) {
        RegDeleteTreeW(HKEY_CURRENT_USER, key);
    }
    DeleteFileW(programsShortcutPath);
}

}  // namespace

void CProgressObject::UninstallApp() {
    position = rangeMin;
    SetStage(StageRunAppUninstall);
    if (BuildPaths(nullptr) < 0) {
        SetError(ErrorPaths);
        return;
    }
    SetPercent(5);
    NoteRegisteredVersion();
    LetAppCleanUp(*this);
    SetPercent(20);
    SetStage(StageUnpin);
    Unpin();
    SetPercent(25);
    SetStage(StageRemoveFiles);
    RemoveFiles(*this);
    SetPercent(90);
    SetStage(StageUnregister);
    Unregister();
    SetPercent(100);
    SetStage(StageUninstalled);
}
