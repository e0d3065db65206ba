#pragma once

/// What the product can change on the machine, as one table of plain texts: the driver takes it
/// before and after a run, makes of the one what is expected, and compares.

#include <windows.h>

#include <map>
#include <string>

#include "scenarios/Prepared.h"

/// Where an entry lies -> what it holds. The places begin with
///   app\ roaming\ menu\ temp\   the folders; a folder's own entry ends in a backslash
///   entry\                      the values of the uninstall key
/// and with "second " in front of app, roaming and entry for the second product.
/// A short text file is shown as it is, another one as size and checksum, a shortcut by its fields,
/// the saved error report as `savedReport`, the records of the sample programs as `sampleRecord`.
using State = std::map<std::string, std::string>;

constexpr char folderMark[] = "folder";
constexpr char savedReport[] = "error report";
constexpr char sampleRecord[] = "record";

State TakeState();

/// Adds a key's values and the keys below it under another name.
void AddKeys(State& state, const std::string& place, HKEY parent, const std::wstring& path);

/// Empty when they are equal; otherwise a line for each entry that is not.
std::string Differences(const State& expected, const State& actual);

/// Removes the entries whose place begins so; gives their number.
std::size_t Drop(State& state, const std::string& place);

/// A change is
///   PLACE=TEXT    a file with this text; a value; a shortcut (on the machine: to the application)
///   PLACE=<NAME>  a copy of this file, or behind PLACE\ of this folder, of {work}
///   PLACE\        a folder
///   -PLACE        nothing there; in a state nothing whose place begins so
void ChangeMachine(const Lines& changes, const Places& places = GetPlaces());
void ChangeState(State& state, const Lines& changes, const Places& places = GetPlaces());

/// The changes that make this version's files of {work}\samples, version file, uninstall entry and
/// shortcut. What a run leaves beside that is not in them.
Lines Installation(const std::string& version, const std::string& sample = "full");

/// Makes a former installation on the machine, and looks that a State shows them.
void PutInstallation(const std::string& version, const Places& places = GetPlaces());
