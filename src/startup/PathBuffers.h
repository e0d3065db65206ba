#pragma once

struct GlobalVars;

/// Length of the fixed path buffers, terminator included.
constexpr int pathBufferLength = 260;

/// Paths that depend on the system's folders and on the argument of --update. Written only by
/// BuildPaths, on the thread of the operation, and undefined before its first call; read by the
/// operation's steps on the same thread.
extern wchar_t appDataDir[pathBufferLength];
extern wchar_t tempManifestPath[pathBufferLength];
extern wchar_t tempArchivePath[pathBufferLength];
extern wchar_t extractDir[pathBufferLength];
extern wchar_t extractUninstallExePath[pathBufferLength];
extern wchar_t programsShortcutPath[pathBufferLength];
extern wchar_t uninstallEndPath[pathBufferLength];
extern wchar_t extractPackageJsonPath[pathBufferLength];

/// Fills the buffers. With `updatePath` naming a folder, that folder itself is `extractDir`; with a
/// file or null it lies in the temporary folder. Returns 0, or -1 at the first folder that cannot
/// be found or path that does not fit; the buffers behind it keep what they held.
int BuildPaths(const GlobalVars* vars, const wchar_t* updatePath);
