#include <windows.h>
#include <shlwapi.h>

#include <string>

#include "diagnostics/SystemInfo.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "operations/AppControl.h"
#include "operations/Progress.h"
#include "operations/UninstallEntry.h"
#include "services/ExplorerWindows.h"
#include "services/Launch.h"
#include "services/Shortcut.h"
#include "services/Version.h"
#include "startup/GlobalVars.h"
#include "startup/PathBuffers.h"

namespace {

void NoteRegisteredVersion(const GlobalVars& vars) {
    wchar_t text[installedVersionLength];
    if (ReadInstalledVersion(vars.appGuid.c_str(), text) >= 0) {
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
    WaitForFileAppear();
}

// The pin tool lies in the version's folder, so this comes before the removal.
void Unpin(const GlobalVars& vars) {
    Version installedVersion;
    if (PathFileExistsW(vars.versionFilePath.c_str()) &&
        GetCurrentAppVersion(&vars, installedVersion) == 0) {
        UnpinFromTaskbar((vars.installDir + L"\\" + installedVersion.wideText).c_str());
    }
}

void RemoveFiles(CProgressObject& progress) {
    CloseWindowsExplorerWindowsForPath(progress.vars->installDir.c_str());
    progress.CloseRunningApp(L"");
    progress.SetPercent(30);
    RemoveDir(progress.vars->installDir.c_str());
    progress.SetPercent(60);
    RemoveDir(appDataDir);
    progress.SetPercent(80);
    SHRemoveObject(extractDir, false);
}

void Unregister(const GlobalVars& vars) {
    wchar_t key[260];
    // Without the product's own name the path would be that of all products' entries.
    if (!vars.appGuid.empty() && FormatUninstallKey(vars.appGuid.c_str(), key) >= 0) {
        RegDeleteTreeW(HKEY_CURRENT_USER, key);
    }
    DeleteFileW(programsShortcutPath);
}

}  // namespace

void CProgressObject::UninstallApp() {
    operation = OperationUninstall;
    position = rangeMin;
    SetStage(StageRunAppUninstall);
    if (BuildPaths(vars, nullptr) < 0) {
        SetError(ErrorPaths);
        return;
    }
    SetPercent(5);
    NoteRegisteredVersion(*vars);
    LetAppCleanUp(*this);
    SetPercent(20);
    SetStage(StageUnpin);
    Unpin(*vars);
    SetPercent(25);
    SetStage(StageRemoveFiles);
    RemoveFiles(*this);
    SetPercent(90);
    SetStage(StageUnregister);
    Unregister(*vars);
    SetPercent(100);
    SetStage(StageUninstalled);
}
