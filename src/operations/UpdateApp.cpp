#include <windows.h>
#include <shlwapi.h>

#include "base/GlobalVars.h"
#include "base/PathBuffers.h"
#include "diagnostics/SystemInfo.h"
#include "operations/Progress.h"
#include "operations/VersionFolder.h"
#include "services/Unzip.h"

namespace {

bool FindUpdateFiles(CProgressObject& progress) {
    const wchar_t* path = globalVars.updateFilesPath;
    if (path == nullptr || !PathFileExistsW(path)) {
        progress.SetError(ErrorUpdateFilesMissing, {path});
        return false;
    }
    if (BuildPaths(path) < 0) {
        progress.SetError(ErrorPaths);
        return false;
    }
    return true;
}

bool NoteInstalledVersion(CProgressObject& progress, Version& installedVersion) {
    progress.SetPercent(1);
    progress.SetStage(StageUpdateCheckArchive);
    return !PathFileExistsW(globalVars.versionFilePath.c_str()) ||
           ReadInstalledVersionFile(progress, installedVersion);
}

bool UnpackUpdate(CProgressObject& progress) {
    progress.SetPercent(6);
    progress.SetStage(StageUpdateUnpack);
    const wchar_t* path = globalVars.updateFilesPath;
    if (!NamesFolder(path) && UnzipToFolder(path, extractDir) < 0) {
        progress.SetError(ErrorUnpack, {path, extractDir});
        return false;
    }
    return SupplyUninstaller(progress);
}

bool ReadNewVersion(CProgressObject& progress, Manifest& manifest) {
    progress.SetPercent(75);
    progress.SetStage(StageUpdateManifest);
    if (ParseManifest(extractPackageJsonPath, &manifest) < 0) {
        progress.SetError(ErrorManifest);
        return false;
    }
    SetReportNewVersion(manifest.version.wideText);
    return true;
}

bool PlaceUpdate(CProgressObject& progress, VersionPlacement& placement) {
    progress.SetPercent(80);
    progress.SetStage(StageUpdatePlaceFiles);
    PreparePlacement(placement);
    if (progress.SwapAppFolder(placement.versionFolder, placement.backupFolder) < 0) {
        return false;
    }
    progress.SetPercent(90);
    return PlaceProgramFiles(progress, placement);
}

}  // namespace

void CProgressObject::UpdateApp() {
    position = rangeMin;
    SetStage(StageUpdateBegins);
    VersionPlacement placement;
    if (!FindUpdateFiles(*this) || !NoteInstalledVersion(*this, placement.installedVersion) ||
        !UnpackUpdate(*this) || !ReadNewVersion(*this, placement.manifest) ||
        !PlaceUpdate(*this, placement)) {
        return;
    }
    SetPercent(93);
    SetStage(StageUpdateRegister);
    if (!RegisterVersion(*this, placement)) {
        return;
    }
    // From here on nothing can fail the operation.
    CreateAppShortcut();
    SetPercent(96);
    SetStage(StageUpdateStartApp);
    CloseRunningApp(globalVars.moduleName);
    StartApp(L"--update-app");
    SetPercent(100);
    SetStage(StageUpdated);
}
