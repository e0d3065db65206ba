#include "startup/Roles.h"

#include <windows.h>
#include <strsafe.h>

#include <string>

#include "base/GlobalVars.h"
#include "base/Log.h"
#include "base/OwnPath.h"
#include "base/PathBuffers.h"
#include "base/TempFolder.h"
#include "fs/RetryingOperations.h"
#include "processes/Launch.h"
#include "processes/OpenedFiles.h"
#include "processes/ProcessControl.h"

namespace {

void LogListing(const std::wstring& folder) {
    const std::wstring listing = GetOpenedFilesListing(folder);
    mainLog.Info(L"Opened files in [" + folder + L"]\n" + listing);
}

}  // namespace

int CopyAndRestartItself() {
    mainLog.Info(L"CopyAndRestartItself");
    wchar_t temp[MAX_PATH];
    if (!GetTempFolder(temp)) {
        mainLog.Error(L"CopyAndRestartItself: error of GetTempPath: " + LastErrorText());
        return -1;
    }
    wchar_t target[MAX_PATH];
    const HRESULT formatted =
        StringCchPrintfW(target, MAX_PATH, L"%s%s", temp, globalVars.uninstallExeName.c_str());
    if (FAILED(formatted)) {
        mainLog.Error(L"CopyAndRestartItself: error of StringCchPrintf: " + HResultText(formatted));
        return -1;
    }
    if (GetRunProcessCount(globalVars.uninstallExeName.c_str()) != 0) {
        return 0;
    }
    if (SHCopyObject(OwnPath(), target, false) < 0) {
        return -1;
    }
    ExecuteApp(target, L"--uninstall", 0, false);
    return 0;
}

void SetTempDirAsCurrent() {
    wchar_t temp[MAX_PATH];
    SetCurrentDirectoryW(GetTempFolder(temp) ? temp : L"C:\\");
}

bool ListOpenedFiles() {
    if (BuildPaths(globalVars.updateFilesPath) < 0) {
        return false;
    }
    LogListing(globalVars.installDir);
    LogListing(extractDir);
    return true;
}
