#pragma once

#include <windows.h>

/// The entry in the system's list of installed programs: one key of the current user's registry
/// hive. Nothing here logs.

/// Room for the text of a registered version, terminator included.
constexpr int installedVersionLength = 64;

/// Creates or opens the key and, unless `text` is null, sets a text value in it. 0, or the system's
/// error as a negative HRESULT.
long WriteRegistryString(const wchar_t* subKey, const wchar_t* valueName, const wchar_t* text);

/// Writes the entry's five values. 0; 1 when one of them failed, with those before it written; a
/// negative value when the key's path does not fit. A failure is also the thread's last error.
long WriteUninstallEntry(const wchar_t* guid, const wchar_t* version, const wchar_t* uninstallPath,
                         const wchar_t* name);

/// Reads the registered version. 0, or a negative value when there is none or it does not fit.
long ReadInstalledVersion(const wchar_t* guid, wchar_t (&buffer)[installedVersionLength]);

/// Formats the key's path under the current user's hive into a buffer; negative when it does not
/// fit.
long FormatUninstallKey(const wchar_t* guid, wchar_t (&path)[MAX_PATH]);
