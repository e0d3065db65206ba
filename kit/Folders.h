#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Failure.h"

/// The full path, without a separator at its end.
std::wstring FullPath(const std::wstring& path);

/// The full path in the form that may be longer than 260 characters and takes names as they are.
std::wstring LongPath(const std::wstring& path);

/// The full path, in the form that may be longer when a file below it might need that.
std::wstring RoomyPath(const std::wstring& path);

/// The path of what is named relative to a folder, in UTF-8 with forward slashes.
std::wstring PathIn(const std::wstring& folder, std::string path);

bool IsFolder(const std::wstring& path);
bool PathExists(const std::wstring& path);

/// Everything before the last separator; empty when there is none.
std::wstring ParentOf(const std::wstring& path);

/// Makes a folder and those above it that are missing. Appends the ones it made to `made`, the
/// outermost first, also when it fails. Returns 0 or the system's error code.
std::uint32_t MakeFolders(const std::wstring& folder, std::vector<std::wstring>& made);

/// Whether something can be made in a folder: makes and removes a folder in it. Returns 0 or the
/// system's error code.
std::uint32_t TryToWrite(const std::wstring& folder);

/// Removes a folder with all it holds, read-only files too, as far as that can be done. Links are
/// not followed.
void RemoveFolder(const std::wstring& folder);

/// Moves files, named relative to both folders as PathIn takes it, from the folder `from` into
/// `to`, in this order; they replace the files that stand there. Either all of them arrive or `to`
/// is as it was, also when there was none. Both must be on one disk.
Failure MoveInto(const std::wstring& from, const std::wstring& to,
                 const std::vector<std::string>& paths);
