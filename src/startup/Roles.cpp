#include "startup/Roles.h"

#include <windows.h>
#include <strsafe.h>

#include <string>

#include "diagnostics/Log.h"
#include "fs/RetryingOperations.h"
#include "processes/OpenedFiles.h"
#include "processes/ProcessControl.h"
#include "services/Launch.h"
#include "startup/GlobalVars.h"
#include "startup/OwnPath.h"
#include "startup/PathBuffers.h"

namespace {

void LogListing(const std::wstring& folder) {
    const std::wstring listing = GetOpenedFilesListing(folder);
    mainLog.Info(L"Opened files in [" + folder + L"]\n" + listing);
}

}  // namespace

int CopyAndRestartItself() {
    mainLog.Info(L"CopyAndRestartItself");
    wchar_t temp[260];
    const DWORD length = GetTempPathW(260, temp);
    if (length == 0 || length > 260) {
        mainLog.Error(L"CopyAndRestartItself: error of GetTempPath: " + LastErrorText());
        return -1;
    }
    wchar_t target[260];
    const HRESULT formatted =
        StringCchPrintfW(target, 260, L"%s%s", temp, globalVars.uninstallExeName.c_str());
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
    wchar_t temp[260];
    const DWORD length = GetTempPathW(260, temp);
    SetCurrentDirectoryW(length == 0 || length > 260 ? L"C:\\" : temp);
}

bool ListOpenedFiles() {
    if (BuildPaths(&globalVars, globalVars.updateFilesPath) < 0) {
        return false;
    }
    LogListing(globalVars.installDir);
    LogListing(extractDir);
    return true;
}

void WaitForProcess(int pid) {
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
}
