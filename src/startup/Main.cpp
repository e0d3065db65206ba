#include <windows.h>
#include <stdlib.h>

#include <string>

#include "diagnostics/ErrorReport.h"
#include "operations/Progress.h"
#include "resources/ResourceIds.h"
#include "services/Launch.h"
#include "services/SelfDelete.h"
#include "services/Shortcut.h"
#include "startup/GlobalVars.h"
#include "startup/OwnPath.h"
#include "startup/Roles.h"
#include "ui/MainWindow.h"
#include "ui/Texts.h"

namespace {

// A program that was downloaded lies beside other downloads, which must not be taken for libraries.
void SearchLibrariesInSystemFolderOnly() {
    using SetDefaultDllDirectoriesCall = BOOL(WINAPI*)(DWORD);
    const auto setDefaultDllDirectories = reinterpret_cast<SetDefaultDllDirectoriesCall>(
        GetProcAddress(GetModuleHandleW(L"kernel32"), "SetDefaultDllDirectories"));
    if (setDefaultDllDirectories != nullptr) {
        setDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
}

void FillGlobalVars(HINSTANCE instance) {
    globalVars.hInstance = instance;
    globalVars.isOffline =
        FindResourceW(nullptr, MAKEINTRESOURCEW(IDR_ARCHIVE), L"DISTR") != nullptr;
    globalVars.Init();
    globalVars.ParseCommandLine();
    progressObject.vars = &globalVars;
    errorReport.vars = &globalVars;
}

void SendReport(const wchar_t* message) {
    errorReport.SetMessage(message);
    errorReport.Send(nullptr);
}

int WriteProcessReport() {
    if (ListOpenedFiles()) {
        SendReport(L"Отчет по процессам");
    }
    return 0;
}

int RestartFromCopy() {
    if (CheckSingleInstance(globalVars.uninstallerLockName, globalVars.windowClassName) != 0) {
        return 0;
    }
    const int result = CopyAndRestartItself();
    if (result < 0) {
        errorReport.CaptureLastError();
        SendReport(L"Ошибка копирования и запуска копии uninstall.exe");
    }
    return result;
}

int ReportIfNoWindow(int result) {
    if (result < 0) {
        errorReport.CaptureLastError();
        SendReport(L"Error of CreateMainWindow");
    }
    return result;
}

int RunInWindow(int showCommand, int operation) {
    return ReportIfNoWindow(CreateMainWindow(showCommand, &globalVars, operation));
}

int RunUninstall(int showCommand) {
    int result = 0;
    DWORD error = GetLastError();
    if (MessageBoxW(nullptr, GetString(TextConfirmUninstall), GetString(TextTitle),
                    MB_YESNO | MB_ICONQUESTION) == IDYES) {
        if (globalVars.waitPid != 0) {
            WaitForProcess(globalVars.waitPid);
        }
        result = CreateMainWindow(showCommand, &globalVars, OperationUninstall);
        error = GetLastError();
    }
    SelfDelete(OwnPath().c_str());
    // The report is about the window.
    SetLastError(error);
    return ReportIfNoWindow(result);
}

int RunOperation(int showCommand) {
    if (globalVars.runUninstall) {
        return RunUninstall(showCommand);
    }
    if (globalVars.runUpdate && globalVars.showConsole) {
        progressObject.UpdateApp();
        return 0;
    }
    if (globalVars.runUpdate) {
        return RunInWindow(showCommand, OperationUpdate);
    }
    if (globalVars.runInstall && globalVars.showConsole) {
        progressObject.InstallApp();
        return 0;
    }
    return RunInWindow(showCommand, OperationInstall);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t*, int showCommand) {
    SearchLibrariesInSystemFolderOnly();
    FillGlobalVars(instance);
    RememberOwnPath();
    SetTempDirAsCurrent();
    if (globalVars.generateReport) {
        return WriteProcessReport();
    }
    const std::wstring appId = globalVars.appDisplayName;
    if (!SetAumIdForProcess(appId)) {
        SendReport(L"Ошибка установки AUMID");
        return -1;
    }
    if (globalVars.moduleIsUninstall && __argc == 1) {
        return RestartFromCopy();
    }
    if (!globalVars.runUninstall && !globalVars.isRunAs &&
        CheckSingleInstance(globalVars.installerLockName, globalVars.windowClassName) != 0) {
        return 0;
    }
    if (globalVars.isRunAs && globalVars.waitPid != 0) {
        WaitForProcess(globalVars.waitPid);
    }
    return RunOperation(showCommand);
}
