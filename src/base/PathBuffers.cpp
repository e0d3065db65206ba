#include "base/PathBuffers.h"

#include <shlobj.h>
#include <strsafe.h>

#include "base/GlobalVars.h"
#include "base/TempFolder.h"

wchar_t appDataDir[MAX_PATH];
wchar_t tempManifestPath[MAX_PATH];
wchar_t tempArchivePath[MAX_PATH];
wchar_t extractDir[MAX_PATH];
wchar_t extractUninstallExePath[MAX_PATH];
wchar_t programsShortcutPath[MAX_PATH];
wchar_t uninstallEndPath[MAX_PATH];
wchar_t extractPackageJsonPath[MAX_PATH];

namespace {

bool QueryFolder(int csidl, wchar_t (&path)[MAX_PATH]) {
    return SUCCEEDED(SHGetFolderPathW(nullptr, csidl, nullptr, 0, path));
}

bool Join(wchar_t (&target)[MAX_PATH], const wchar_t* head, const wchar_t* separator,
          const wchar_t* tail) {
    return SUCCEEDED(StringCchPrintfW(target, MAX_PATH, L"%s%s%s", head, separator, tail));
}

}  // namespace

bool NamesFolder(const wchar_t* path) {
    // Of a path that cannot be read all bits are set.
    return path != nullptr && (GetFileAttributesW(path) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::wstring PathForm(PathFormCall* ask, const std::wstring& path) {
    wchar_t form[MAX_PATH];
    const DWORD length = ask(path.c_str(), form, MAX_PATH);
    return length > 0 && length < MAX_PATH ? form : path.c_str();
}

int BuildPaths(const wchar_t* updatePath) {
    wchar_t temp[MAX_PATH];
    if (!GetTempFolder(temp)) {
        return -1;
    }
    wchar_t roaming[MAX_PATH];
    wchar_t local[MAX_PATH];
    if (!QueryFolder(CSIDL_APPDATA, roaming) || !QueryFolder(CSIDL_LOCAL_APPDATA, local)) {
        return -1;
    }
    if (!Join(appDataDir, roaming, L"\\", globalVars.appDirName.c_str()) ||
        !Join(tempManifestPath, temp, L"", globalVars.manifestFileName.c_str()) ||
        !Join(tempArchivePath, temp, L"", globalVars.archiveFileName.c_str())) {
        return -1;
    }
    const bool extracted = NamesFolder(updatePath)
                               ? Join(extractDir, updatePath, L"", L"")
                               : Join(extractDir, temp, L"", globalVars.tempDirName.c_str());
    if (!extracted || !Join(extractUninstallExePath, extractDir, L"\\", L"uninstall.exe")) {
        return -1;
    }
    wchar_t programs[MAX_PATH];
    if (!QueryFolder(CSIDL_PROGRAMS, programs)) {
        return -1;
    }
    if (!Join(programsShortcutPath, programs, L"\\", globalVars.shortcutName.c_str()) ||
        !Join(uninstallEndPath, globalVars.installDir.c_str(), L"\\", L"uninstall_end") ||
        !Join(extractPackageJsonPath, extractDir, L"\\", L"resources\\app\\package.json")) {
        return -1;
    }
    return 0;
}
