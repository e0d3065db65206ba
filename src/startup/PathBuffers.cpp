#include "startup/PathBuffers.h"

#include <windows.h>
#include <shlobj.h>
#include <strsafe.h>

#include "startup/GlobalVars.h"

wchar_t appDataDir[pathBufferLength];
wchar_t tempManifestPath[pathBufferLength];
wchar_t tempArchivePath[pathBufferLength];
wchar_t extractDir[pathBufferLength];
wchar_t extractUninstallExePath[pathBufferLength];
wchar_t programsShortcutPath[pathBufferLength];
wchar_t uninstallEndPath[pathBufferLength];
wchar_t extractPackageJsonPath[pathBufferLength];

namespace {

bool QueryFolder(int csidl, wchar_t (&path)[MAX_PATH]) {
    return SUCCEEDED(SHGetFolderPathW(nullptr, csidl, nullptr, 0, path));
}

bool Join(wchar_t (&target)[pathBufferLength], const wchar_t* head, const wchar_t* separator,
          const wchar_t* tail) {
    return SUCCEEDED(StringCchPrintfW(target, pathBufferLength, L"%s%s%s", head, separator, tail));
}

// An unreadable path gives all bits set and so counts as a folder: the update has tested before
// that its path exists.
bool NamesFolder(const wchar_t* path) {
    return path != nullptr && (GetFileAttributesW(path) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

int BuildPaths(const GlobalVars* vars, const wchar_t* updatePath) {
    wchar_t temp[pathBufferLength];
    const DWORD tempLength = GetTempPathW(pathBufferLength, temp);
    if (tempLength == 0 || tempLength > pathBufferLength) {
        return -1;
    }
    wchar_t roaming[MAX_PATH];
    wchar_t local[MAX_PATH];
    if (!QueryFolder(CSIDL_APPDATA, roaming) || !QueryFolder(CSIDL_LOCAL_APPDATA, local)) {
        return -1;
    }
    if (!Join(appDataDir, roaming, L"\\", vars->appDirName.c_str()) ||
        !Join(tempManifestPath, temp, L"", vars->manifestFileName.c_str()) ||
        !Join(tempArchivePath, temp, L"", vars->archiveFileName.c_str())) {
        return -1;
    }
    const bool extracted = NamesFolder(updatePath)
                               ? Join(extractDir, updatePath, L"", L"")
                               : Join(extractDir, temp, L"", vars->tempDirName.c_str());
    if (!extracted || !Join(extractUninstallExePath, extractDir, L"\\", L"uninstall.exe")) {
        return -1;
    }
    wchar_t programs[MAX_PATH];
    if (!QueryFolder(CSIDL_PROGRAMS, programs)) {
        return -1;
    }
    if (!Join(programsShortcutPath, programs, L"\\", vars->shortcutName.c_str()) ||
        !Join(uninstallEndPath, vars->installDir.c_str(), L"\\", L"uninstall_end") ||
        !Join(extractPackageJsonPath, extractDir, L"\\", L"resources\\app\\package.json")) {
        return -1;
    }
    return 0;
}
