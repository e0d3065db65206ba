#include <windows.h>
#include <stdlib.h>

#include <string>

#include "base/GlobalVars.h"
#include "base/LastErrorKeeper.h"
#include "base/OwnPath.h"
#include "diagnostics/ErrorReport.h"
#include "operations/Operations.h"
#include "processes/Launch.h"
#include "processes/ProcessControl.h"
#include "resources/ResourceIds.h"
#include "services/SelfDelete.h"
#include "services/Shortcut.h"
#include "startup/CommandLine.h"
#include "startup/Roles.h"
#include "ui/MainWindow.h"
#include "ui/Texts.h"

namespace {

// What a report says that belongs to no operation.
// NOLINTNEXTLINE(bugprone-macro-parentheses): declares a name
#define LONE_FAILURE(constant, text, english) constexpr wchar_t constant[] = L##text;
#include "resources/Failures.def"

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
        FindResourceW(nullptr, MAKEINTRESOURCEW(IDR_ARCHIVE), archiveType) != nullptr;
    globalVars.Init();
    ParseCommandLine(globalVars);
}

void SendReport(const wchar_t* message) {
    errorReport.SetMessage(message);
    errorReport.Send(nullptr);
}

int WriteProcessReport() {
    if (ListOpenedFiles()) {
        SendReport(openFilesListed);
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
        SendReport(uninstallerNotStarted);
    }
    return result;
}

int ReportIfNoWindow(int result) {
    if (result < 0) {
        errorReport.CaptureLastError();
        SendReport(windowNotMade);
    }
    return result;
}

int RunUninstall(int showCommand) {
    int result = 0;
    if (MessageBoxW(nullptr, GetString(TextConfirmUninstall), GetString(TextTitle),
                    MB_YESNO | MB_ICONQUESTION) == IDYES) {
        if (globalVars.waitPid != 0) {
            WaitForProcess(globalVars.waitPid);
        }
        result = CreateMainWindow(showCommand, OperationUninstall);
    }
    {
        // The report is about the window.
        const LastErrorKeeper keeper;
        SelfDelete(OwnPath().c_str());
    }
    return ReportIfNoWindow(result);
}

int RunInstallOrUpdate(int showCommand) {
    const int operation = globalVars.runUpdate ? OperationUpdate : OperationInstall;
    if (globalVars.showConsole) {
        progressObject.operation = operation;
        RunOperation(progressObject);
        return 0;
    }
    return ReportIfNoWindow(CreateMainWindow(showCommand, operation));
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
        SendReport(appIdNotSet);
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
    return globalVars.runUninstall ? RunUninstall(showCommand) : RunInstallOrUpdate(showCommand);
}
