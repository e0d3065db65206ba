#include "ui/OperationEnd.h"

#include <cwchar>
#include <string>

#include "diagnostics/ErrorReport.h"
#include "operations/Progress.h"
#include "services/Bitness.h"
#include "services/Launch.h"
#include "startup/GlobalVars.h"
#include "ui/Texts.h"

namespace {

int ShowBox(HWND window, int text, UINT flags) {
    return MessageBoxW(window, GetString(text), GetString(TextTitle), flags);
}

// The command processor would take an address apart at these characters.
std::wstring EscapeForShell(const std::wstring& address) {
    std::wstring escaped;
    for (const wchar_t character : address) {
        if (wcschr(L"&|<>^", character) != nullptr) {
            escaped += L'^';
        }
        escaped += character;
    }
    return escaped;
}

void FinishInstall(HWND window, const GlobalVars& vars, const CProgressObject& progress,
                   ErrorReport& errorReport) {
    switch (progress.errorCode) {
        case ErrorNone:
        case ErrorUpToDate:
            break;
        case ErrorDownload:
            errorReport.Send(&progress.report);
            if (ShowBox(window, TextOfferFullInstaller, MB_OKCANCEL | MB_ICONQUESTION) == IDOK) {
                OpenFullInstallerPage(vars);
            }
            break;
        default:
            if (!vars.elevatedCopyStarted) {
                errorReport.Send(&progress.report);
                ShowFailure(window, OperationInstall);
            }
    }
}

void FinishUninstall(HWND window, const CProgressObject& progress, ErrorReport& errorReport) {
    if (progress.errorCode == ErrorNone) {
        ShowBox(window, TextRemoved, MB_ICONINFORMATION);
        return;
    }
    errorReport.Send(&progress.report);
    ShowFailure(window, OperationUninstall);
}

}  // namespace

void FinishOperation(HWND window, const GlobalVars& vars, const CProgressObject& progress,
                     ErrorReport& errorReport, int operation) {
    switch (operation) {
        case OperationInstall:
            FinishInstall(window, vars, progress, errorReport);
            break;
        case OperationUninstall:
            FinishUninstall(window, progress, errorReport);
            break;
        case OperationUpdate:
            if (progress.errorCode != ErrorNone && !vars.elevatedCopyStarted) {
                errorReport.Send(&progress.report);
            }
            break;
    }
}

void ShowFailure(HWND window, int operation) {
    if (operation == OperationInstall) {
        ShowBox(window, TextInstallFailed, MB_ICONERROR);
    } else if (operation == OperationUninstall) {
        ShowBox(window, TextUninstallFailed, MB_ICONERROR);
    }
}

void OpenFullInstallerPage(const GlobalVars& vars) {
    const std::wstring address = vars.offlineInstallerUrl + (Is64BitSystem() ? L"x64" : L"x32");
    ExecuteApp(L"cmd.exe", (L"/c start " + EscapeForShell(address)).c_str(), CREATE_NO_WINDOW,
               false);
}
