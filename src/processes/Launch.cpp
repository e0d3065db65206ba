#include "processes/Launch.h"

#include <shellapi.h>
#include <shlwapi.h>
#include <stdlib.h>

#include "base/DecimalText.h"
#include "base/Log.h"
#include "processes/ProcessControl.h"

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

// Of a bare name, which stands for a program of the system. The search for it would begin in this
// program's folder, where a download lies beside anything.
std::wstring SystemProgram(const std::wstring& name) {
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    return length == 0 || length >= MAX_PATH ? name : std::wstring(folder) + L"\\" + name;
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
    const bool isBare = separator == std::wstring::npos;
    const std::wstring folder = isBare ? std::wstring() : program.substr(0, separator);
    const std::wstring application = isBare ? SystemProgram(program) : std::wstring();
    utilsLog.Info(L"ExecuteApp: [" + commandLine + L"]");

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(isBare ? application.c_str() : nullptr, commandLine.data(), nullptr,
                        nullptr, FALSE, creationFlags, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &startup, &process)) {
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

void WaitForFileAppear(const wchar_t* path) {
    utilsLog.Info(std::wstring(L"WaitForFileAppear: ") + path);
    PollUntil([path] { return PathFileExistsW(path) != FALSE; }, 10000,
              L"WaitForFileAppear: Timeout!");
    utilsLog.Info(L"WaitForFileAppear: Done");
}

bool IsRunAsAdmin() {
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID administrators = nullptr;
    BOOL isMember = FALSE;
    const bool isKnown =
        AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                 DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &administrators) &&
        CheckTokenMembership(nullptr, administrators, &isMember);
    const DWORD error = GetLastError();
    if (administrators != nullptr) {
        FreeSid(administrators);
    }
    if (!isKnown) {
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
