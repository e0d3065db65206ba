#pragma once

#include <windows.h>

#include <string>

/// Paths that depend on the system's folders and on the argument of --update. Written only by
/// BuildPaths, on the thread of the operation, and undefined before its first call; read by the
/// operation's steps on the same thread.
extern wchar_t appDataDir[MAX_PATH];
extern wchar_t tempManifestPath[MAX_PATH];
extern wchar_t tempArchivePath[MAX_PATH];
extern wchar_t extractDir[MAX_PATH];
extern wchar_t extractUninstallExePath[MAX_PATH];
extern wchar_t programsShortcutPath[MAX_PATH];
extern wchar_t uninstallEndPath[MAX_PATH];
extern wchar_t extractPackageJsonPath[MAX_PATH];

/// Whether what --update names is an unpacked folder; false for null. A path that cannot be read
/// counts as one: the update has tested before that it exists.
bool NamesFolder(const wchar_t* path);

/// The form of a path that GetLongPathNameW or GetShortPathNameW gives; the path as it is when it
/// cannot be found. The system reports open files and shown folders by their long names, and often
/// tells the temporary folder in 8.3 form.
using PathFormCall = DWORD WINAPI(LPCWSTR path, LPWSTR form, DWORD limit);
std::wstring PathForm(PathFormCall* ask, const std::wstring& path);

/// Fills the buffers. With `updatePath` naming a folder, that folder itself is `extractDir`; with a
/// file or null it lies in the temporary folder. Returns 0, or -1 at the first folder that cannot
/// be found or path that does not fit; the buffers behind it keep what they held.
int BuildPaths(const wchar_t* updatePath);
