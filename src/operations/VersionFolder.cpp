#include "operations/VersionFolder.h"

#include <windows.h>
#include <shlwapi.h>

#include "base/GlobalVars.h"
#include "base/OwnPath.h"
#include "base/PathBuffers.h"
#include "diagnostics/SystemInfo.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "fs/SyncDirs.h"
#include "operations/AppControl.h"
#include "operations/Progress.h"
#include "services/ExplorerWindows.h"
#include "services/UninstallEntry.h"

namespace {

bool Exists(const std::wstring& path) {
    return PathFileExistsW(path.c_str()) != FALSE;
}

void RollBack(const VersionPlacement& placement) {
    RollbackInstall(placement.hadFolder, placement.versionFolder, placement.backupFolder,
                    placement.installedVersion.text);
}

bool CopyToFixedPlace(CProgressObject& progress, const VersionPlacement& placement,
                      const std::wstring& from, const std::wstring& to) {
    if (SHCopyObject(from, to, false) >= 0) {
        return true;
    }
    progress.SetError(ErrorCopyFile, {from.c_str(), to.c_str()});
    RollBack(placement);
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

void PreparePlacement(VersionPlacement& placement) {
    placement.versionFolder = globalVars.installDir + L"\\" + placement.manifest.version.wideText;
    placement.backupFolder = placement.versionFolder + L".BKP";
    placement.folderStarter = placement.versionFolder + L"\\" + globalVars.starterExeName;
    placement.folderUninstaller = placement.versionFolder + L"\\uninstall.exe";
    placement.hadFolder = Exists(placement.versionFolder);
}

bool ReadInstalledVersionFile(CProgressObject& progress, Version& version) {
    if (GetCurrentAppVersion(version) < 0) {
        progress.SetError(ErrorReadVersion, {globalVars.versionFilePath.c_str()});
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
    if (!CopyToFixedPlace(progress, placement, placement.folderStarter, globalVars.starterPath) ||
        !CopyToFixedPlace(progress, placement, placement.folderUninstaller,
                          globalVars.uninstallExePath)) {
        return false;
    }
    const std::string& text = placement.manifest.version.text;
    if (WriteBufferToFile(text.data(), static_cast<std::uint32_t>(text.size()),
                          globalVars.versionFilePath) < 0) {
        progress.SetError(ErrorWriteVersion, {globalVars.versionFilePath.c_str()});
        RollBack(placement);
        return false;
    }
    return true;
}

bool RegisterVersion(CProgressObject& progress, const VersionPlacement& placement) {
    if (WriteUninstallEntry(globalVars.appGuid.c_str(), placement.manifest.version.wideText.c_str(),
                            globalVars.uninstallExePath.c_str(), globalVars.appName.c_str()) != 0) {
        progress.SetError(ErrorRegistry);
        RollBack(placement);
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

void RollbackInstall(bool hadFolder, const std::wstring& versionFolder,
                     const std::wstring& backupFolder, std::string oldVersionText) {
    if (Exists(globalVars.versionFilePath)) {
        if (oldVersionText.empty()) {
            SHRemoveObject(globalVars.versionFilePath, false);
        } else {
            WriteBufferToFile(oldVersionText.data(),
                              static_cast<std::uint32_t>(oldVersionText.size()),
                              globalVars.versionFilePath);
        }
    }
    if (hadFolder && SHRenameObject(backupFolder, versionFolder) < 0) {
        SyncDirs(backupFolder, versionFolder, false);
    }
}
