#pragma once

/// Names of zip entries: their character sets, and which of them may be used as a path.
/// Portable, keeps nothing.

#include <string>
#include <string_view>

/// Decodes an entry's name to UTF-16: strict UTF-8 when the entry says so, otherwise code page 437.
/// False for malformed UTF-8.
bool DecodeEntryName(std::string_view bytes, bool isUtf8, std::u16string& name);

/// Turns a decoded name into a relative path with backslashes and without a trailing one; isFolder
/// tells whether it had one. False when the path could leave the folder it is put under, or when
/// Windows would take a part of it for something else: "..", a drive or stream, a leading
/// separator, a reserved device, a trailing dot or blank, a character that no file name may have.
bool MakeRelativePath(std::u16string_view name, std::u16string& path, bool& isFolder);

/// Folds ASCII letters, to find entries that name the same file.
std::u16string FoldCase(std::u16string_view path);
