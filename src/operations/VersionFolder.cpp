#include "operations/VersionFolder.h"

#include <windows.h>
#include <shlwapi.h>

#include "diagnostics/SystemInfo.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "fs/SyncDirs.h"
#include "operations/AppControl.h"
#include "operations/Progress.h"
#include "operations/UninstallEntry.h"
#include "services/ExplorerWindows.h"
#include "startup/GlobalVars.h"
#include "startup/OwnPath.h"
#include "startup/PathBuffers.h"

namespace {

bool Exists(const std::wstring& path) {
    return PathFileExistsW(path.c_str()) != FALSE;
}

void RollBack(const CProgressObject& progress, const VersionPlacement& placement) {
    RollbackInstall(progress.vars, placement.hadFolder, placement.versionFolder,
                    placement.backupFolder, placement.installedVersion.text);
}

bool CopyToFixedPlace(CProgressObject& progress, const VersionPlacement& placement,
                      const std::wstring& from, const std::wstring& to) {
    if (SHCopyObject(from, to, false) >= 0) {
        return true;
    }
    progress.SetError(ErrorCopyFile, {from.c_str(), to.c_str()});
    RollBack(progress, placement);
    return false;
}

void CloseExplorerWindows(const std::wstring& versionFolder, const std::wstring& backupFolder) {
    CloseWindowsExplorerWindowsForPath(extractDir);
    CloseWindowsExplorerWindowsForPath(versionFolder.c_str());
    CloseWindowsExplorerWindowsForPath(backupFolder.c_str());
}

// Some file in the folder is in use, so it is backed up and refreshed entry by entry.
int SwapFileByFile(CProgressObject& progress, const std::wstring& versionFolder,
                   const std::wstring& backupFolder) {
    if (SyncDirs(versionFolder, backupFolder, true) < 0) {
        progress.SetError(ErrorMoveFolder, {versionFolder.c_str(), backupFolder.c_str()});
        SHRemoveObject(backupFolder, false);
        return -1;
    }
    if (SyncDirs(extractDir, versionFolder, true) < 0) {
        progress.SetError(ErrorMoveFolder, {extractDir, versionFolder.c_str()});
        SyncDirs(backupFolder, versionFolder, false);
        SHRemoveObject(backupFolder, false);
        return -1;
    }
    return 0;
}

}  // namespace

void PreparePlacement(const GlobalVars& vars, VersionPlacement& placement) {
    placement.versionFolder = vars.installDir + L"\\" + placement.manifest.version.wideText;
    placement.backupFolder = placement.versionFolder + L".BKP";
    placement.folderStarter = placement.versionFolder + L"\\" + vars.starterExeName;
    placement.folderUninstaller = placement.versionFolder + L"\\uninstall.exe";
    placement.hadFolder = Exists(placement.versionFolder);
}

bool ReadInstalledVersionFile(CProgressObject& progress, Version& version) {
    if (GetCurrentAppVersion(progress.vars, version) < 0) {
        progress.SetError(ErrorReadVersion, {progress.vars->versionFilePath.c_str()});
        return false;
    }
    SetReportOldVersion(version.wideText);
    return true;
}

bool SupplyUninstaller(CProgressObject& progress) {
    if (PathFileExistsW(extractUninstallExePath)) {
        return true;
    }
    const std::wstring& ownPath = OwnPath();
    if (SHCopyObject(ownPath, extractUninstallExePath, false) < 0) {
        progress.SetError(ErrorCopyFile, {ownPath.c_str(), extractUninstallExePath});
        return false;
    }
    return true;
}

bool PlaceProgramFiles(CProgressObject& progress, const VersionPlacement& placement) {
    const GlobalVars& vars = *progress.vars;
    if (!CopyToFixedPlace(progress, placement, placement.folderStarter, vars.starterPath) ||
        !CopyToFixedPlace(progress, placement, placement.folderUninstaller,
                          vars.uninstallExePath)) {
        return false;
    }
    const std::string& text = placement.manifest.version.text;
    if (WriteBufferToFile(text.data(), static_cast<std::uint32_t>(text.size()),
                          vars.versionFilePath) < 0) {
        progress.SetError(ErrorWriteVersion, {vars.versionFilePath.c_str()});
        RollBack(progress, placement);
        return false;
    }
    return true;
}

bool RegisterVersion(CProgressObject& progress, const VersionPlacement& placement) {
    const GlobalVars& vars = *progress.vars;
    if (WriteUninstallEntry(vars.appGuid.c_str(), placement.manifest.version.wideText.c_str(),
                            vars.uninstallExePath.c_str(), vars.appName.c_str()) != 0) {
        progress.SetError(ErrorRegistry);
        RollBack(progress, placement);
        return false;
    }
    return true;
}

int CProgressObject::SwapAppFolder(const std::wstring& versionFolder,
                                   const std::wstring& backupFolder) {
    CloseExplorerWindows(versionFolder, backupFolder);
    bool movedToBackup = false;
    if (Exists(versionFolder)) {
        if (SHRenameObject(versionFolder, backupFolder) < 0) {
            return SwapFileByFile(*this, versionFolder, backupFolder);
        }
        movedToBackup = true;
    }
    if (SHMoveObject(extractDir, versionFolder, true) >= 0) {
        return 0;
    }
    SetError(ErrorMoveFolder, {extractDir, versionFolder.c_str()});
    if (movedToBackup && SHRenameObject(backupFolder, versionFolder) < 0) {
        SyncDirs(backupFolder, versionFolder, true);
    }
    return -1;
}

void RollbackInstall(const GlobalVars* vars, bool hadFolder, const std::wstring& versionFolder,
                     const std::wstring& backupFolder, std::string oldVersionText) {
    if (Exists(vars->versionFilePath)) {
        if (oldVersionText.empty()) {
            SHRemoveObject(vars->versionFilePath, false);
        } else {
            WriteBufferToFile(oldVersionText.data(),
                              static_cast<std::uint32_t>(oldVersionText.size()),
                              vars->versionFilePath);
        }
    }
    if (hadFolder && SHRenameObject(backupFolder, versionFolder) < 0) {
        SyncDirs(backupFolder, versionFolder, false);
    }
}
