#include "services/Launch.h"

#include <shellapi.h>
#include <shlwapi.h>
#include <stdlib.h>

#include "diagnostics/DecimalText.h"
#include "diagnostics/Log.h"
#include "processes/ProcessControl.h"
#include "startup/PathBuffers.h"

namespace {

constexpr DWORD pollPause = 100;

// Polls until the condition holds; logs `timeoutLine` and gives up after `limit` milliseconds of
// sleep.
template <typename Condition>
void PollUntil(Condition holds, DWORD limit, const wchar_t* timeoutLine) {
    for (DWORD slept = 0; !holds();) {
        Sleep(pollPause);
        slept += pollPause;
        if (slept == limit) {
            utilsLog.Warn(timeoutLine);
            return;
        }
    }
}

// Some failures leave no code, and 0 would stand for a started copy.
DWORD FailureCode(DWORD error) {
    return error == ERROR_SUCCESS ? ERROR_CANCELLED : error;
}

}  // namespace

int ExecuteApp(const wchar_t* path, const wchar_t* arguments, DWORD creationFlags, bool wait) {
    if (path == nullptr) {
        return -1;
    }
    const std::wstring program = path;
    std::wstring commandLine = L"\"" + program + L"\" " + (arguments ? arguments : L"");
    const std::size_t separator = program.find_last_of(L"\\/");
    const std::wstring folder =
        separator == std::wstring::npos ? std::wstring() : program.substr(0, separator);
    utilsLog.Info(L"ExecuteApp: [" + commandLine + L"]");

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, creationFlags,
                        nullptr, folder.empty() ? nullptr : folder.c_str(), &startup, &process)) {
        utilsLog.Error(L"ExecuteApp: CreateProcess error: " + LastErrorText());
        return -1;
    }
    CloseHandle(process.hThread);
    if (wait) {
        utilsLog.Info(L"ExecuteApp: wait for close...");
        WaitForSingleObject(process.hProcess, INFINITE);
    }
    CloseHandle(process.hProcess);
    utilsLog.Info(L"ExecuteApp: Done");
    return 0;
}

std::wstring QuotedArguments(int count, wchar_t* const* arguments) {
    std::wstring text;
    for (int index = 1; index < count; ++index) {
        text += std::wstring(L" \"") + arguments[index] + L"\"";
    }
    return text;
}

void WaitForAppOpen(const wchar_t* exeName) {
    constexpr int openCount = 5;
    utilsLog.Info(L"WaitForAppOpen");
    PollUntil([exeName] { return GetRunProcessCount(exeName) >= openCount; }, 5000,
              L"WaitForAppOpen: Timeout!");
    Sleep(400);
    utilsLog.Info(L"WaitForAppOpen: Done");
}

void WaitForFileAppear() {
    utilsLog.Info(std::wstring(L"WaitForFileAppear: ") + uninstallEndPath);
    PollUntil([] { return PathFileExistsW(uninstallEndPath) != FALSE; }, 10000,
              L"WaitForFileAppear: Timeout!");
    utilsLog.Info(L"WaitForFileAppear: Done");
}

bool IsRunAsAdmin() {
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID administrators = nullptr;
    BOOL isMember = FALSE;
    DWORD error = ERROR_SUCCESS;
    if (!AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                  DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &administrators) ||
        !CheckTokenMembership(nullptr, administrators, &isMember)) {
        error = GetLastError();
        isMember = FALSE;
    }
    if (administrators != nullptr) {
        FreeSid(administrators);
    }
    if (error != ERROR_SUCCESS) {
        utilsLog.Error(L"IsRunAsAdmin: exception is raised: " + ErrorText(error));
        return false;
    }
    return isMember != FALSE;
}

DWORD RunAs(HWND ownerWindow) {
    wchar_t ownPath[MAX_PATH];
    const DWORD pathLength = GetModuleFileNameW(nullptr, ownPath, MAX_PATH);
    if (pathLength == 0 || pathLength == MAX_PATH) {
        return FailureCode(GetLastError());
    }
    const std::wstring parameters =
        L"--runas " + DecimalText(GetCurrentProcessId()) + QuotedArguments(__argc, __wargv);
    SHELLEXECUTEINFOW execute{};
    execute.cbSize = sizeof execute;
    execute.hwnd = ownerWindow;
    execute.lpVerb = L"runas";
    execute.lpFile = ownPath;
    execute.lpParameters = parameters.c_str();
    execute.nShow = SW_SHOWNORMAL;
    if (ShellExecuteExW(&execute)) {
        return 0;
    }
    return FailureCode(GetLastError());
}

int CheckSingleInstance(std::wstring lockName, std::wstring windowClass) {
    // Never closed: the lock lasts as long as the process.
    // cppcheck-suppress leakReturnValNotUsed ; meant, see above
    CreateMutexW(nullptr, FALSE, lockName.c_str());
    if (GetLastError() == ERROR_SUCCESS) {
        return 0;
    }
    if (!windowClass.empty()) {
        const HWND window = FindWindowW(windowClass.c_str(), nullptr);
        if (window != nullptr) {
            SetForegroundWindow(window);
        }
    }
    return 1;
}
