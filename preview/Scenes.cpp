#include "preview/Scenes.h"

#include "base/GlobalVars.h"
#include "diagnostics/ErrorReport.h"
#include "operations/Progress.h"
#include "preview/ImportSlot.h"
#include "ui/DialogAnswering.h"
#include "ui/DialogAsking.h"
#include "ui/MainWindow.h"
#include "ui/OperationEnd.h"
#include "ui/Texts.h"

namespace {

bool isAdministrator = false;

// A worker that never ends and never does anything.
HANDLE WINAPI StartNoThread(SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE, void*, DWORD,
                            DWORD*) {
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

BOOL WINAPI AnswerMembership(HANDLE, PSID, BOOL* isMember) {
    *isMember = isAdministrator;
    return TRUE;
}

bool ReplaceImport(const char* function, FARPROC replacement) {
    FARPROC* slot = FindImportSlot(function);
    if (slot != nullptr) {
        WriteImportSlot(slot, replacement);
    }
    return slot != nullptr;
}

void ShowInstall() {
    CreateMainWindow(SW_SHOWNORMAL, OperationInstall);
}

void ShowUpdate() {
    CreateMainWindow(SW_SHOWNORMAL, OperationUpdate);
}

void ShowUninstall() {
    CreateMainWindow(SW_SHOWNORMAL, OperationUninstall);
}

// The entry point asks this by itself.
void AskToUninstall() {
    MessageBoxW(nullptr, GetString(TextConfirmUninstall), GetString(TextTitle),
                MB_YESNO | MB_ICONQUESTION);
}

// The end of an operation sends its report before it shows a box.
void ShowEnd(int operation, int errorCode) {
    progressObject.operation = operation;
    progressObject.errorCode = errorCode;
    FinishOperation(nullptr, progressObject, errorReport);
    progressObject.errorCode = ErrorNone;
}

void ShowRemoved() {
    ShowEnd(OperationUninstall, ErrorNone);
}

void ShowOfferOfFullInstaller() {
    ShowEnd(OperationInstall, ErrorDownload);
}

void ShowInstallFailed() {
    ShowFailure(nullptr, OperationInstall);
}

void ShowUninstallFailed() {
    ShowFailure(nullptr, OperationUninstall);
}

void ShowAccessBlocked(bool asAdministrator) {
    isAdministrator = asAdministrator;
    AnswerDialogRequest(nullptr, {TextAccessBlocked, TextTitle, MB_RETRYCANCEL});
}

void ShowAccessBlockedBox() {
    ShowAccessBlocked(true);
}

void ShowAccessBlockedDialog() {
    ShowAccessBlocked(false);
}

void ShowUpToDate() {
    ShowDialog(TextUpToDateContinue, MB_OKCANCEL | MB_ICONQUESTION, nullptr);
}

Scene BoxScene(void (*show)(), const char* name, const char* title, int textRow) {
    return {show, {{name, title, true, {TextTitle, textRow}, 0, 0}}};
}

std::vector<Scene> ComposeScenes() {
    Scene elevation =
        BoxScene(ShowAccessBlockedDialog, "access-blocked-elevate",
                 "Question: a file is in use, without administrator rights", TextAccessBlocked);
    elevation.shots[0].textRows.push_back(TextRetry);
    return {
        {ShowInstall,
         {{"install-preparing",
           "Install: first status",
           false,
           {TextProductName, TextPreparing},
           StageDownloadManifest,
           2},
          {"install-downloading",
           "Install: downloading",
           false,
           {TextProductName, TextDownloading},
           StageDownloadFiles,
           45},
          {"cancel-question",
           "Question: window closed during an install",
           true,
           {TextTitle, TextConfirmCancel},
           StageDownloadFiles,
           45},
          {"install-installing",
           "Install: putting files in place",
           false,
           {TextProductName, TextInstalling},
           StagePlaceFiles,
           100}}},
        {ShowUpdate,
         {{"update",
           "Update (the window is out of sight)",
           false,
           {TextProductName, TextUpdating},
           StageUpdatePlaceFiles,
           60}}},
        {ShowUninstall,
         {{"uninstall",
           "Uninstall",
           false,
           {TextProductName, TextUninstalling},
           StageRemoveFiles,
           75}}},
        BoxScene(AskToUninstall, "uninstall-question", "Question: before an uninstall",
                 TextConfirmUninstall),
        BoxScene(ShowUpToDate, "up-to-date", "Question: nothing newer to install",
                 TextUpToDateContinue),
        BoxScene(ShowAccessBlockedBox, "access-blocked",
                 "Question: a file is in use, with administrator rights", TextAccessBlocked),
        elevation,
        BoxScene(ShowOfferOfFullInstaller, "full-installer", "Question: the download failed",
                 TextOfferFullInstaller),
        BoxScene(ShowInstallFailed, "install-failed", "Error: the install failed",
                 TextInstallFailed),
        BoxScene(ShowUninstallFailed, "uninstall-failed", "Error: the uninstall failed",
                 TextUninstallFailed),
        BoxScene(ShowRemoved, "removed", "Information: removed", TextRemoved),
    };
}

}  // namespace

const std::vector<Scene>& AllScenes() {
    static const std::vector<Scene> scenes = ComposeScenes();
    return scenes;
}

bool PrepareStage() {
    globalVars.hInstance = GetModuleHandleW(nullptr);
    globalVars.Init();
    // The reports of the scenes have no addressee and leave no file.
    globalVars.serverHost.clear();
    globalVars.errorReportFileName.clear();
    return ReplaceImport("CreateThread", reinterpret_cast<FARPROC>(&StartNoThread)) &&
           ReplaceImport("CheckTokenMembership", reinterpret_cast<FARPROC>(&AnswerMembership));
}

void AskToCancel() {
    PostMessageW(mainWindowHandle, WM_CLOSE, 0, 0);
}
