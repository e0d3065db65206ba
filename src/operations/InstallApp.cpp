#include <windows.h>
#include <shlwapi.h>

#include "base/GlobalVars.h"
#include "base/PathBuffers.h"
#include "diagnostics/SystemInfo.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "operations/DownloadArchive.h"
#include "operations/OfflineArchive.h"
#include "operations/Progress.h"
#include "operations/VersionFolder.h"
#include "resources/TextTableFormat.h"
#include "services/Download.h"
#include "services/Shortcut.h"
#include "services/Unzip.h"
#include "ui/DialogAsking.h"

namespace {

bool FetchManifest(CProgressObject& progress, Manifest& manifest) {
    if (!downloadFile(globalVars.manifestUrl.c_str(), tempManifestPath, nullptr)) {
        progress.SetError(ErrorDownload);
        return false;
    }
    progress.SetPercent(4);
    if (ParseManifest(tempManifestPath, &manifest) < 0) {
        progress.SetError(ErrorManifest);
        SHRemoveObject(tempManifestPath, false);
        return false;
    }
    SetReportNewVersion(manifest.version.wideText);
    SHRemoveObject(tempManifestPath, false);
    return true;
}

// Asks the user before a version that is not newer replaces the installed one.
bool CheckInstalledVersion(CProgressObject& progress, const Version& newVersion,
                           Version& installedVersion) {
    if (!PathFileExistsW(globalVars.versionFilePath.c_str())) {
        return true;
    }
    if (!ReadInstalledVersionFile(progress, installedVersion)) {
        return false;
    }
    if (newVersion.Compare(installedVersion) > 0 ||
        ShowDialog(TextUpToDateContinue, MB_OKCANCEL | MB_ICONQUESTION, nullptr) == IDOK) {
        return true;
    }
    progress.SetError(ErrorUpToDate, {L"oldVer", installedVersion.wideText.c_str(), L"newVer",
                                      newVersion.wideText.c_str()});
    return false;
}

bool FetchArchive(CProgressObject& progress, VersionPlacement& placement) {
    if (!FetchManifest(progress, placement.manifest)) {
        return false;
    }
    progress.SetPercent(5);
    progress.SetStage(StageCheckInstalled);
    if (!CheckInstalledVersion(progress, placement.manifest.version, placement.installedVersion)) {
        return false;
    }
    progress.SetStage(StageDownloadFiles);
    return DownloadArchive(&progress, placement.manifest) >= 0;
}

bool ExtractOwnArchive(CProgressObject& progress) {
    if (CheckAndExtractAppArchive()) {
        return true;
    }
    progress.SetError(ErrorArchiveResource);
    return false;
}

// An offline build learns its version only here, from the unpacked files.
bool ReadUnpackedVersion(CProgressObject& progress, VersionPlacement& placement) {
    if (ParseManifest(extractPackageJsonPath, &placement.manifest) < 0) {
        progress.SetError(ErrorManifest);
        return false;
    }
    return CheckInstalledVersion(progress, placement.manifest.version, placement.installedVersion);
}

bool UnpackArchive(CProgressObject& progress, VersionPlacement& placement) {
    progress.SetPercent(70);
    progress.SetStage(StageUnpack);
    if (UnzipToFolder(tempArchivePath, extractDir) < 0) {
        progress.SetError(ErrorUnpack, {tempArchivePath, extractDir});
        return false;
    }
    if (globalVars.isOffline && !ReadUnpackedVersion(progress, placement)) {
        return false;
    }
    return SupplyUninstaller(progress);
}

bool PlaceVersion(CProgressObject& progress, VersionPlacement& placement) {
    progress.SetStage(StagePlaceFiles);
    PreparePlacement(placement);
    if (CreateDir(globalVars.installDir) < 0) {
        progress.SetError(ErrorCreateFolder, {placement.versionFolder.c_str()});
        return false;
    }
    if (progress.SwapAppFolder(placement.versionFolder, placement.backupFolder) < 0) {
        return false;
    }
    progress.SetPercent(90);
    return PlaceProgramFiles(progress, placement);
}

}  // namespace

void CProgressObject::InstallApp() {
    position = rangeMin;
    SetStage(StageDownloadManifest);
    if (BuildPaths(nullptr) < 0) {
        SetError(ErrorPaths);
        return;
    }
    SetPercent(1);
    VersionPlacement placement;
    if (!(globalVars.isOffline ? ExtractOwnArchive(*this) : FetchArchive(*this, placement)) ||
        !UnpackArchive(*this, placement) || !PlaceVersion(*this, placement)) {
        return;
    }
    SetPercent(93);
    SetStage(StageRegister);
    if (!RegisterVersion(*this, placement)) {
        return;
    }
    // From here on nothing can fail the operation.
    CreateAppShortcut();
    SetPercent(96);
    SetStage(StagePin);
    PinToTaskbar(placement.versionFolder.c_str());
    SHRemoveObject(placement.backupFolder, false);
    SHRemoveObject(extractDir, false);
    SetStage(StageStartApp);
    CloseRunningApp(L"");
    StartInstalledApp();
    SetPercent(100);
    SetStage(StageInstalled);
    // The full bar is to be seen before the window closes.
    Sleep(500);
}
