#include "ui/OperationEnd.h"

#include <cwchar>
#include <string>

#include "base/Bitness.h"
#include "base/GlobalVars.h"
#include "diagnostics/ErrorReport.h"
#include "operations/Operations.h"
#include "processes/Launch.h"
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

void FinishInstall(HWND window, const CProgressObject& progress, ErrorReport& errorReport) {
    switch (progress.errorCode) {
        case ErrorNone:
        case ErrorUpToDate:
            break;
        case ErrorDownload:
            errorReport.Send(&progress.report);
            if (ShowBox(window, TextOfferFullInstaller, MB_OKCANCEL | MB_ICONQUESTION) == IDOK) {
                OpenFullInstallerPage();
            }
            break;
        default:
            if (!globalVars.elevatedCopyStarted) {
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

void FinishOperation(HWND window, const CProgressObject& progress, ErrorReport& errorReport) {
    switch (progress.operation) {
        case OperationInstall:
            FinishInstall(window, progress, errorReport);
            break;
        case OperationUninstall:
            FinishUninstall(window, progress, errorReport);
            break;
        case OperationUpdate:
            if (progress.errorCode != ErrorNone && !globalVars.elevatedCopyStarted) {
                errorReport.Send(&progress.report);
            }
            break;
    }
}

void ShowFailure(HWND window, int operation) {
    if (const int text = TraitsOf(operation).failureText; text != noText) {
        ShowBox(window, text, MB_ICONERROR);
    }
}

void OpenFullInstallerPage() {
    const std::wstring address =
        globalVars.offlineInstallerUrl + (Is64BitSystem() ? L"x64" : L"x32");
    ExecuteApp(L"cmd.exe", (L"/c start " + EscapeForShell(address)).c_str(), CREATE_NO_WINDOW,
               false);
}
