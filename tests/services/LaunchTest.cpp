#include "services/Launch.h"

#include <shellapi.h>
#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

std::wstring OwnPath() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

}  // namespace

TEST(ExecuteApp, ComposesTheCommandLine) {
    std::wstring started;
    HANDLE handles[2];
    const Replaced start =
        Replace("kernel32.dll", "CreateProcessW", CreateProcessW,
                [&](auto, LPCWSTR program, LPWSTR line, auto, auto, BOOL inherit, DWORD flags,
                    LPVOID environment, LPCWSTR folder, auto, LPPROCESS_INFORMATION process) {
                    EXPECT_TRUE(program == nullptr && !inherit && environment == nullptr);
                    EXPECT_EQ(flags, 0x8000000u);
                    started = std::wstring(line) + L" in " + (folder ? folder : L"its own");
                    handles[0] = process->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
                    handles[1] = process->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
                    return TRUE;
                });
    const struct {
        const wchar_t *path, *arguments, *commandLine, *folder;
    } cases[] = {
        {L"C:\\a b\\x.exe", L"-k \"v w\"", L"\"C:\\a b\\x.exe\" -k \"v w\"", L"C:\\a b"},
        {L"C:/a/b\\c/x.exe", L"", L"\"C:/a/b\\c/x.exe\" ", L"C:/a/b\\c"},
        {L"C:/a\\x.exe", nullptr, L"\"C:/a\\x.exe\" ", L"C:/a"},
        {L"cmd.exe", L"/c start x", L"\"cmd.exe\" /c start x", L"its own"},
    };
    for (const auto& [path, arguments, commandLine, folder] : cases) {
        const LogCapture log;
        EXPECT_EQ(ExecuteApp(path, arguments, 0x8000000, false), 0);
        EXPECT_EQ(started, std::wstring(commandLine) + L" in " + folder);
        EXPECT_EQ(log.Lines(), std::wstring(L"INFO Utils ExecuteApp: [") + commandLine +
                                   L"]\nINFO Utils ExecuteApp: Done\n");
        DWORD flags = 0;
        EXPECT_FALSE(GetHandleInformation(handles[0], &flags));
        EXPECT_FALSE(GetHandleInformation(handles[1], &flags));
    }
    const LogCapture log;
    EXPECT_EQ(ExecuteApp(nullptr, L"x", 0, false), -1);
    EXPECT_EQ(log.Lines(), L"");
}

TEST(ExecuteApp, WaitsForTheProgramInItsFolder) {
    const ScratchFolder scratch;
    const std::wstring copy = scratch / L"copy.exe";
    ASSERT_TRUE(CopyFileW(OwnPath().c_str(), copy.c_str(), FALSE));
    const LogCapture log;
    EXPECT_EQ(
        ExecuteApp(copy.c_str(), L"--gtest_filter=None --gtest_output=json:out.json", 0, true), 0);
    EXPECT_NE(ReadFileText(scratch / L"out.json").find("\"tests\": 0"), std::string::npos);
    EXPECT_TRUE(
        log.Has(L"INFO Utils ExecuteApp: wait for close...\nINFO Utils ExecuteApp: Done\n"));

    EXPECT_EQ(ExecuteApp((scratch / L"missing.exe").c_str(), L"", 0, true), -1);
    EXPECT_TRUE(log.Has(L"missing.exe\" ]\nERROR Utils ExecuteApp: CreateProcess error: " +
                        ErrorText(ERROR_FILE_NOT_FOUND)));
}

TEST(RunAs, HandsOnIdAndArguments) {
    wchar_t program[] = L"x", first[] = L"--update", second[] = L"D:\\a b\\x.zip";
    wchar_t* arguments[] = {program, first, second, nullptr};
    const HWND owner = reinterpret_cast<HWND>(0x1234);
    std::wstring elevated;
    DWORD answer = 0;
    const auto prompt = [&](auto, SHELLEXECUTEINFOW* execute) {
        EXPECT_TRUE(execute->cbSize == 60 && execute->fMask == 0 && execute->hwnd == owner &&
                    execute->nShow == SW_SHOWNORMAL);
        elevated =
            std::wstring(execute->lpVerb) + L"|" + execute->lpFile + L"|" + execute->lpParameters;
        SetLastError(answer);
        return answer == 0;
    };
    const Replaced prompted = Replace("shell32.dll", "ShellExecuteExW", ShellExecuteExW, prompt);
    wchar_t** const ownArguments = std::exchange(__wargv, arguments);
    const int ownCount = std::exchange(__argc, 3);
    EXPECT_EQ(RunAs(owner), 0u);
    const std::wstring head =
        L"runas|" + OwnPath() + L"|--runas " + std::to_wstring(GetCurrentProcessId());
    EXPECT_EQ(elevated, head + L" \"--update\" \"D:\\a b\\x.zip\"");
    __argc = 1;
    answer = ERROR_CANCELLED;
    EXPECT_EQ(RunAs(owner), answer);
    EXPECT_EQ(elevated, head);
    __wargv = ownArguments;
    __argc = ownCount;

    elevated.clear();
    const auto noPath = [](auto, auto...) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    };
    const Replaced path = Replace("kernel32.dll", "GetModuleFileNameW", GetModuleFileNameW, noPath);
    EXPECT_EQ(RunAs(owner), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(elevated, L"");
}

TEST(IsRunAsAdmin, IsFalseWhenItCannotBeFoundOut) {
    int freed = 0;
    const Replaced freeSid = Replace("advapi32.dll", "FreeSid", FreeSid, [&](auto real, PSID sid) {
        ++freed;
        return real(sid);
    });
    // As the test machine's user is.
    EXPECT_TRUE(IsRunAsAdmin());
    const LogCapture log;
    BOOL done = TRUE;
    const auto answer = [&](auto, auto, auto, PBOOL isMember) {
        *isMember = !done;
        SetLastError(ERROR_ACCESS_DENIED);
        return done;
    };
    const Replaced check =
        Replace("advapi32.dll", "CheckTokenMembership", CheckTokenMembership, answer);
    EXPECT_FALSE(IsRunAsAdmin());
    EXPECT_EQ(log.Lines(), L"");
    done = FALSE;
    EXPECT_FALSE(IsRunAsAdmin());
    const auto noSid = [](auto, auto...) {
        SetLastError(ERROR_OUTOFMEMORY);
        return FALSE;
    };
    const Replaced allocate =
        Replace("advapi32.dll", "AllocateAndInitializeSid", AllocateAndInitializeSid, noSid);
    EXPECT_FALSE(IsRunAsAdmin());
    EXPECT_EQ(freed, 3);
    const std::wstring line = L"ERROR Utils IsRunAsAdmin: exception is raised: ";
    EXPECT_EQ(log.Lines(), line + ErrorText(ERROR_ACCESS_DENIED) + L"\n" + line +
                               ErrorText(ERROR_OUTOFMEMORY) + L"\n");
}

TEST(CheckSingleInstance, ShowsTheWindowOfTheFirst) {
    // A lock lasts as long as the process, so each run of the test has its own.
    static int run = 0;
    const std::wstring id = std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++run);
    const std::wstring lock = L"test.lock." + id, windowClass = L"TestWindow" + id;
    HWND foreground = nullptr;
    const auto note = [&](auto, HWND window) {
        foreground = window;
        return TRUE;
    };
    const Replaced front = Replace("user32.dll", "SetForegroundWindow", SetForegroundWindow, note);
    EXPECT_EQ(CheckSingleInstance(lock, windowClass), 0);
    EXPECT_EQ(CheckSingleInstance(lock, windowClass), 1) << "no window yet";
    WNDCLASSW record{};
    record.lpfnWndProc = DefWindowProcW;
    record.lpszClassName = windowClass.c_str();
    RegisterClassW(&record);
    const HWND window = CreateWindowExW(0, windowClass.c_str(), L"", WS_POPUP, 0, 0, 1, 1, nullptr,
                                        nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(CheckSingleInstance(lock + L".other", windowClass), 0);
    // Any window would do if one were looked for.
    EXPECT_EQ(CheckSingleInstance(lock, L""), 1);
    EXPECT_EQ(foreground, nullptr);
    EXPECT_EQ(CheckSingleInstance(lock, windowClass), 1);
    EXPECT_EQ(foreground, window);
    DestroyWindow(window);
    const Replaced refused =
        Replace("kernel32.dll", "CreateMutexW", CreateMutexW, [](auto, auto...) {
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        });
    EXPECT_EQ(CheckSingleInstance(lock + L".elevated", windowClass), 1);
}
