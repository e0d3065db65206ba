#include "operations/Operations.h"

namespace {

// By number.
constexpr OperationTraits operations[] = {
    {&CProgressObject::InstallApp, TextPreparing, TextInstallFailed, false},
    {&CProgressObject::UninstallApp, TextUninstalling, TextUninstallFailed, false},
    {&CProgressObject::UpdateApp, TextUpdating, noText, true},
};
static_assert(OperationInstall == 0 && OperationUninstall == 1 && OperationUpdate == 2);

}  // namespace

const OperationTraits& TraitsOf(int operation) {
    return operations[operation];
}

void RunOperation(CProgressObject& progress) {
    (progress.*TraitsOf(progress.operation).run)();
}

DWORD WINAPI WorkerThreadProc(void* parameter) {
    if (auto* progress = static_cast<CProgressObject*>(parameter)) {
        RunOperation(*progress);
    }
    ExitThread(0);
}
