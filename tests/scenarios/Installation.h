#pragma once

/// Puts installations on the machine, tells what one looks like, and takes everything away again.

#include <windows.h>

#include <string>
#include <vector>

#include "scenarios/MachineState.h"
#include "scenarios/Prepared.h"

/// A machine on which this version of a sample (Prepared.h) is installed: program files, version
/// file, uninstall entry, shortcut. What a run leaves beside that is not in it.
State InstalledState(const std::string& version, const std::wstring& sample = L"full",
                     const Places& places = GetPlaces());

/// The same with what an install run leaves beside it: the record of the starter and that of the
/// pin tool.
State StateAfterInstall(const std::string& version, const std::wstring& sample = L"full",
                        const Places& places = GetPlaces());

/// Makes InstalledState(version, sample) the state of the machine, which must be wiped.
void PutInstallation(const std::string& version, const std::wstring& sample = L"former");

/// Copies a folder's tree, with the times of its files.
void CopyTree(const std::wstring& from, const std::wstring& to);

/// Command lines with which the starter was started, as it recorded them, the oldest first.
std::vector<std::string> StarterCalls();

struct RunningProgram {
    DWORD processId;
    std::wstring path;
};

/// All that run, or those with this file name.
std::vector<RunningProgram> ListPrograms(const std::wstring& exeName = L"");

/// Full paths of the running programs with this file name.
std::vector<std::wstring> RunningPrograms(const std::wstring& exeName);

/// The ids of all running processes whose program lies below the product's install folder, sorted.
std::vector<DWORD> ProcessesOf(const Places& places);

/// What RunningPrograms(appExeName) gives when the sample application of this version runs.
std::vector<std::wstring> FiveProcessesOf(const std::wstring& version);

/// Ends what scenarios have started, and removes all that is in the places of MachineState.h.
void WipeMachine();

/// Ends all programs that were started from the products' places and from Prepared::folder.
void EndPrograms();
