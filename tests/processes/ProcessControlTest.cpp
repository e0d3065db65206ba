#include "processes/ProcessControl.h"

#include <psapi.h>

#include <map>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

// Processes that are not there; each has an event for a handle.
class ProcessControl : public testing::Test {
  protected:
    ProcessControl() {
        const auto open = [this](auto, DWORD access, BOOL, DWORD pid) {
            opened.emplace_back(access, pid);
            const auto error = openErrors.find(pid);
            if (error == openErrors.end()) {
                return CreateEventW(nullptr, TRUE, TRUE, nullptr);
            }
            SetLastError(error->second);
            return HANDLE{nullptr};
        };
        const auto wait = [this](auto real, HANDLE object, DWORD timeout) {
            // The test library has a thread that waits for this one.
            if (timeout == INFINITE) {
                return real(object, timeout);
            }
            EXPECT_EQ(timeout, 5000u);
            SetLastError(ERROR_INVALID_HANDLE);
            return waitResults.at(waits++);
        };
        const auto terminate = [](auto, HANDLE, UINT exitCode) {
            EXPECT_EQ(exitCode, 0u);
            SetLastError(ERROR_GEN_FAILURE);
            return FALSE;
        };
        replaced = {Replace("kernel32.dll", "OpenProcess", OpenProcess, open),
                    Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject, wait),
                    Replace("kernel32.dll", "TerminateProcess", TerminateProcess, terminate)};
    }

    std::map<DWORD, DWORD> openErrors;
    /// Access and process id.
    std::vector<std::pair<DWORD, DWORD>> opened;
    std::vector<DWORD> waitResults;
    std::size_t waits = 0;
    const ProcessRecord first{10, 1, L"app.exe"};
    const ProcessRecord second{20, 10, L"b.exe"};
    const ProcessRecord third{30, 10, L"c.exe"};
    const ProcessList list{&first, &second, &third};
    const LogCapture log;
    std::vector<Replaced> replaced;
};

std::wstring Line(const wchar_t* start, const wchar_t* message, DWORD error) {
    return std::wstring(start) + L" ProcessesUtils " + message + ErrorText(error) + L"\n";
}

}  // namespace

TEST_F(ProcessControl, WaitTellsItsResultsApart) {
    struct {
        DWORD openError;
        DWORD wait;
        bool result;
        std::wstring line;
    } const cases[] = {
        {0, WAIT_OBJECT_0, true, L"INFO ProcessesUtils WaitProcessForClose: process closed\n"},
        {0, WAIT_TIMEOUT, false,
         L"WARN ProcessesUtils WaitProcessForClose: WaitForSingleObject timeout!\n"},
        {0, WAIT_FAILED, true,
         Line(L"WARN", L"WaitProcessForClose: WaitForSingleObject error: ", ERROR_INVALID_HANDLE)},
        {0, WAIT_ABANDONED, true,
         L"WARN ProcessesUtils WaitProcessForClose: WaitForSingleObject result: 128\n"},
        {87, 0, true, Line(L"WARN", L"WaitProcessForClose: OpenProcess error: ", 87)},
    };
    for (const auto& test : cases) {
        const LogCapture lines;
        waitResults = {test.wait};
        waits = 0;
        if (test.openError != 0) {
            openErrors[10] = test.openError;
        }
        EXPECT_EQ(WaitProcessForClose(first), test.result);
        EXPECT_EQ(lines.Lines(),
                  L"INFO ProcessesUtils WaitProcessForClose: wait process "
                  L"[app.exe], pid [10], parent [1]\n" +
                      test.line);
    }
    EXPECT_EQ(opened[0], std::make_pair(DWORD{SYNCHRONIZE}, DWORD{10}));
}

TEST_F(ProcessControl, WaitingEndsAtTheFirstTimeout) {
    waitResults = {WAIT_FAILED, WAIT_TIMEOUT};
    WaitProcessesForClose(list);
    EXPECT_EQ(opened.size(), 2u);
    EXPECT_EQ(log.Count(L"INFO ProcessesUtils WaitProcessesForClose: start\n"), 1);
    EXPECT_EQ(log.Count(L"INFO ProcessesUtils WaitProcessesForClose: Done\n"), 1);
}

TEST_F(ProcessControl, TerminatingEndsAtTheFirstThatCannotBeOpened) {
    openErrors[20] = ERROR_ACCESS_DENIED;
    TerminateProcesses(list);
    const std::vector<std::pair<DWORD, DWORD>> expected = {{PROCESS_TERMINATE, 10},
                                                           {PROCESS_TERMINATE, 20}};
    EXPECT_EQ(opened, expected);
    const std::wstring start = L"INFO ProcessesUtils TerminateProcesses: terminate process ";
    EXPECT_EQ(
        log.Lines(),
        start + L"[app.exe], pid [10], parent [1]\n" +
            Line(L"WARN", L"TerminateProcesses: error of TerminateProcess: ", ERROR_GEN_FAILURE) +
            start + L"[b.exe], pid [20], parent [10]\n" +
            Line(L"WARN", L"TerminateProcesses: error of OpenProcess: ", ERROR_ACCESS_DENIED));
}

TEST_F(ProcessControl, NameIsEmptyWhenItCannotBeHad) {
    openErrors = {{4, ERROR_ACCESS_DENIED}, {20, ERROR_INVALID_PARAMETER}};
    const auto refuse = [](auto, auto...) {
        SetLastError(ERROR_GEN_FAILURE);
        return DWORD{0};
    };
    const auto noName =
        Replace("kernel32.dll", "K32GetProcessImageFileNameW", K32GetProcessImageFileNameW, refuse);
    for (const DWORD pid : {0, 4, 20, 30}) {
        EXPECT_EQ(GetProcessFullName(pid), L"");
    }
    EXPECT_EQ(opened.size(), 3u);
    EXPECT_EQ(log.Lines(),
              Line(L"WARN", L"GetProcessFullName: OpenProcess for pid [20]: ", 87) +
                  Line(L"WARN", L"GetProcessFullName: GetProcessImageFileName for pid [30]: ",
                       ERROR_GEN_FAILURE));
}
