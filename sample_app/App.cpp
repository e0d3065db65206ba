// The application of the sample product, <Name>.exe: a main process and its helpers, all of the
// same file, as desktop applications built on a browser engine run. None has a window or anything
// to do; the main process ends when the starter asks for it, a helper when the main process ends.
#include <windows.h>
#include <wchar.h>
#include <string>

#include "Identity.h"

namespace {

constexpr wchar_t mainProcessFlag[] = L"--main-process=";

void StartHelper(const Identity& identity, const wchar_t* type) {
    std::wstring line = L"\"" + identity.path + L"\" --type=" + type + L' ' + mainProcessFlag +
                        std::to_wstring(GetCurrentProcessId());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        return;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

int RunHelper(DWORD mainProcessId) {
    const HANDLE mainProcess = OpenProcess(SYNCHRONIZE, FALSE, mainProcessId);
    if (mainProcess) {
        WaitForSingleObject(mainProcess, INFINITE);
        CloseHandle(mainProcess);
    }
    return 0;
}

int RunMain() {
    const Identity identity = GetIdentity(L".exe");
    const std::wstring installFolder = GetParentFolder(identity.folder);
    const HANDLE closeEvent =
        CreateEventW(nullptr, TRUE, FALSE, GetCloseEventName(installFolder).c_str());
    if (!closeEvent) {
        return static_cast<int>(GetLastError());
    }
    // Another main process that is about to end may still hold the event set.
    ResetEvent(closeEvent);
    StartHelper(identity, L"gpu-process");
    StartHelper(identity, L"utility");
    StartHelper(identity, L"renderer");
    if (!HasBehaviour(identity, L"few")) {
        StartHelper(identity, L"renderer");
    }
    WaitForSingleObject(closeEvent, INFINITE);
    if (HasBehaviour(identity, L"stubborn")) {
        Sleep(INFINITE);
    }
    CloseHandle(closeEvent);
    return 0;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
    const wchar_t* flag = wcsstr(GetCommandLineW(), mainProcessFlag);
    return flag ? RunHelper(wcstoul(flag + wcslen(mainProcessFlag), nullptr, 10)) : RunMain();
}
