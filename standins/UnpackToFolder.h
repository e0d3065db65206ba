#pragma once

/// Unpacks a zip archive into an existing folder.

#include <windows.h>
#include <string>

/// Whether the file can be read and claims to be a zip archive.
bool IsZipFile(const std::wstring& path);

/// Unpacks the whole archive and returns when all is written. Nothing is written when a name or the
/// structure is refused; damage found later leaves the files finished until then. Existing files
/// are replaced, read-only ones excepted; links in the folder are not followed. Holds no handle
/// afterwards. May throw std::bad_alloc. Failures: ERROR_INVALID_DATA for a damaged archive,
/// ERROR_NOT_SUPPORTED for an encrypted one or another method, ERROR_BAD_PATHNAME for an unsafe
/// name or kind of entry, ERROR_CANT_RESOLVE_FILENAME for a link in the folder, else the system's,
/// all as HRESULT.
HRESULT UnpackToFolder(const std::wstring& zipPath, const std::wstring& folder);
