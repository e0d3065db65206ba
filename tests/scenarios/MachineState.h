#pragma once

/// What the product can change on the machine, as one table of plain texts: a scenario takes it
/// before and after, or composes what is expected, and compares.

#include <windows.h>

#include <map>
#include <string>
#include <vector>

/// Where an entry lies -> what it holds. The places begin with
///   app\ roaming\ menu\ temp\   the folders of `Places`; a folder's own entry ends in a backslash
///   entry\                      the values of the uninstall key
/// and with "second " in front of app, roaming and entry for the second product.
/// A short text file is shown as it is, another one as size and checksum, a shortcut by its fields,
/// the saved error report as `savedReport`, the records of the sample programs as `sampleRecord`.
using State = std::map<std::string, std::string>;

constexpr char folderMark[] = "folder";
constexpr char savedReport[] = "error report";
constexpr char sampleRecord[] = "record";
constexpr char savedReportPlace[] = "temp\\.quorvane-error-report.txt";

State TakeState();

/// Adds a folder's tree under another name, such as "app\\1.2.3\\"; the folder itself too. Adds
/// nothing when the folder is missing.
void AddTree(State& state, const std::string& place, const std::wstring& folder);

/// Adds a key's values and the keys below it, likewise.
void AddKeys(State& state, const std::string& place, HKEY parent, const std::wstring& path);

/// The entries of a folder; none when it is missing.
std::vector<WIN32_FIND_DATAW> ListFolder(const std::wstring& folder);

inline bool IsFolder(const WIN32_FIND_DATAW& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// What a file's entry holds.
std::string DescribeFile(const std::wstring& path);

/// What a shortcut's entry holds.
std::string DescribeShortcut(const std::wstring& target, const std::wstring& icon,
                             const std::wstring& description, const std::wstring& workingFolder,
                             const std::wstring& arguments = L"");

/// Empty when they are equal; otherwise a line for each entry: "missing", "extra" or "differs".
std::string Differences(const State& expected, const State& actual);

/// Removes the entries whose place begins so.
void Drop(State& state, const std::string& place);

/// The same machine after a report was sent.
State WithReport(State state);

/// Adds what was unpacked of the archive and not put in place.
void AddUnpacked(State& state);
