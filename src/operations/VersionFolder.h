#pragma once

#include <string>

#include "services/Manifest.h"
#include "services/Version.h"

class CProgressObject;

/// The steps that install and update share: putting a version's folder and the two programs with a
/// fixed path in place. Those with a truth value give false after SetError.

/// What an operation knows of the version that it puts in place.
struct VersionPlacement {
    Manifest manifest;
    /// Its text is empty when no version file was found.
    Version installedVersion;
    std::wstring versionFolder;
    std::wstring backupFolder;
    std::wstring folderStarter;
    std::wstring folderUninstaller;
    /// The version's folder existed before, so that there is a backup.
    bool hadFolder = false;
};

/// Makes the paths from the manifest's version and looks for the folder.
void PreparePlacement(VersionPlacement& placement);

/// Reads the version file and notes its version for the report.
bool ReadInstalledVersionFile(CProgressObject& progress, Version& version);

/// Copies the running program into the unpacked archive when that brought no uninstaller.
bool SupplyUninstaller(CProgressObject& progress);

/// Copies starter and uninstaller to their fixed places and writes the version file; rolls back on
/// failure.
bool PlaceProgramFiles(CProgressObject& progress, const VersionPlacement& placement);

/// Writes the uninstall entry; rolls back on failure.
bool RegisterVersion(CProgressObject& progress, const VersionPlacement& placement);

/// Restores a version file that exists (removes it when `oldVersionText` is empty) and, when there
/// was one, the version's former folder. What else was written stays.
void RollbackInstall(bool hadFolder, const std::wstring& versionFolder,
                     const std::wstring& backupFolder, std::string oldVersionText);
