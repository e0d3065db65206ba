#include "processes/ProcessControl.h"

#include <psapi.h>

#include <algorithm>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "support/FailingCall.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

struct TreeCase {
    const char* title;
    /// "pid parent name" of each; 99 is this process.
    const wchar_t* processes;
    const wchar_t* excludeName;
    /// Of "app.exe", sorted.
    const wchar_t* found;
};

const TreeCase treeCases[] = {
    {"a chain of one name", L"12 11 app.exe 10 1 App.EXE 11 10 app.exe", L"", L" 10 11 12"},
    {"the name again below another one", L"10 1 app.exe 11 10 b.exe 12 11 app.exe 13 1 b.exe", L"",
     L" 10 11 12"},
    {"whole names only", L"11 1 app 12 1 myapp.exe", L"", L""},
    {"a parent that is gone, and another top", L"10 77 app.exe 20 1 app.exe 21 20 app.exe", L"",
     L" 10 20 21"},
    {"parents that refer to each other", L"10 12 app.exe 11 10 b.exe 12 11 c.exe", L"",
     L" 10 11 12"},
    {"spared with all below", L"10 1 app.exe 11 10 Setup.EXE 12 11 c.exe 13 10 app.exe", L"setup",
     L" 10 13"},
    {"spared by the name with extension", L"10 1 app.exe 11 10 setup.exe", L"setup.exe", L" 10"},
    {"full stops in the name to spare", L"10 1 app.exe 11 10 set-1.2.3.exe", L"set-1.2.3", L" 10"},
    {"full stops do not shorten it", L"10 1 app.exe 11 10 set-1.2.exe", L"set-1.2.3", L" 10 11"},
    {"a short name to spare", L"10 1 app.exe 11 10 a", L"a", L" 10"},
    {"a top is not spared", L"10 1 app.exe", L"app", L" 10"},
    {"this process below", L"10 1 app.exe 99 10 b.exe 11 99 c.exe", L"", L" 10"},
    {"this process on top", L"99 1 app.exe 11 99 app.exe 12 99 b.exe", L"", L" 11"},
};

const std::wstring info = L"INFO ProcessesUtils ", warn = L"WARN ProcessesUtils ";

// Processes that are not there; each has an event for a handle.
class ProcessControl : public testing::Test {
  protected:
    ProcessControl() {
        for (const ProcessRecord& process : processes) {
            list.push_back(&process);
        }
    }

    const std::vector<ProcessRecord> processes = {{10, 1, L"app.exe"}, {11, 1, L"app.exe"},
                                                  {12, 1, L"app.exe"}, {13, 1, L"app.exe"},
                                                  {14, 1, L"app.exe"}, {15, 1, L"app.exe"}};
    ProcessList list;
    /// Those that cannot be opened, and how the others are opened.
    std::map<DWORD, DWORD> openErrors;
    DWORD expectedAccess = 0;
    const LogCapture log;
    const Replaced opened = Replace(
        "kernel32.dll", "OpenProcess", OpenProcess, [this](auto, DWORD access, BOOL, DWORD pid) {
            EXPECT_EQ(access, expectedAccess);
            SetLastError(openErrors[pid]);
            return openErrors[pid] ? nullptr : CreateEventW(nullptr, TRUE, TRUE, nullptr);
        });
};

}  // namespace

TEST(ProcessTree, FindsProcessesByNameWithTheirDescendants) {
    for (const TreeCase& test : treeCases) {
        std::vector<ProcessRecord> processes;
        std::wistringstream words(test.processes);
        for (ProcessRecord next; words >> next.pid >> next.parentPid >> next.exeName;) {
            processes.push_back(next);
        }
        const ProcessTree tree(processes, 99);
        const LogCapture log;
        ProcessList list;
        tree.FindProcessesByName(L"app.exe", list, test.excludeName);
        std::sort(list.begin(), list.end(), [](auto a, auto b) { return a->pid < b->pid; });
        std::wstring found;
        for (const ProcessRecord* record : list) {
            found += L" " + std::to_wstring(record->pid);
        }
        EXPECT_EQ(found, test.found) << test.title;
        EXPECT_EQ(log.Count(info + L"findChilds: entry\n"), static_cast<int>(list.size()));
    }
}

TEST(DevicePathToDrivePath, TakesTheFirstLetterWhosePrefixMatches) {
    // "Volume1" is C:, "Volume10" is L:.
    const auto name = [](auto, LPCWSTR drive, LPWSTR target, DWORD limit) -> DWORD {
        return *drive < L'C' ? 0
                             : swprintf(target, limit, L"\\Device\\Volume%d", *drive - L'B') + 2;
    };
    const auto query = Replace("kernel32.dll", "QueryDosDeviceW", QueryDosDeviceW, name);
    // Whatever stands behind the prefix.
    for (const auto& [device, expected] : {std::pair(L"\\device\\VOLUME2\\B.exe", L"D:\\B.exe"),
                                           {L"\\Device\\Volume10\\b.exe", L"C:0\\b.exe"},
                                           {L"\\Device\\Vol", L"untouched"}}) {
        std::wstring drivePath = L"untouched";
        EXPECT_EQ(DevicePathToDrivePath(device, drivePath), *expected == L'u' ? 0 : 1);
        EXPECT_EQ(drivePath, expected);
    }
}

TEST_F(ProcessControl, WaitingEndsAtTheFirstTimeout) {
    expectedAccess = SYNCHRONIZE;
    openErrors = {{12, ERROR_INVALID_PARAMETER}};
    std::vector<DWORD> results = {WAIT_TIMEOUT, WAIT_ABANDONED, WAIT_FAILED, WAIT_OBJECT_0};
    const auto wait = [&](auto real, HANDLE object, DWORD timeout) {
        // The test library has a thread that waits for this one.
        if (timeout == INFINITE) {
            return real(object, timeout);
        }
        EXPECT_EQ(timeout, 5000u);
        const DWORD result = results.back();
        results.pop_back();
        SetLastError(ERROR_INVALID_HANDLE);
        return result;
    };
    const auto waited = Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject, wait);
    WaitProcessesForClose(list);
    const std::wstring name = L"WaitProcessForClose: ", call = name + L"WaitForSingleObject ";
    const auto lines = [&](int pid, const std::wstring& line) {
        return info + name + L"wait process [app.exe], pid [" + std::to_wstring(pid) +
               L"], parent [1]\n" + line + L"\n";
    };
    EXPECT_EQ(log.Lines(), info + L"WaitProcessesForClose: start\n" +
                               lines(10, info + name + L"process closed") +
                               lines(11, warn + call + L"error: " + ErrorText(6)) +
                               lines(12, warn + name + L"OpenProcess error: " + ErrorText(87)) +
                               lines(13, warn + call + L"result: 128") +
                               lines(14, warn + call + L"timeout!") + info +
                               L"WaitProcessesForClose: Done\n");
}

TEST_F(ProcessControl, TerminatingEndsAtTheFirstThatCannotBeOpened) {
    expectedAccess = PROCESS_TERMINATE;
    openErrors = {{11, ERROR_ACCESS_DENIED}};
    const FailingCall terminate("kernel32.dll", "TerminateProcess", &TerminateProcess, FALSE, 31);
    TerminateProcesses(list);
    const std::wstring name = L"TerminateProcesses: ";
    const std::wstring start = info + name + L"terminate process [app.exe], pid [1";
    EXPECT_EQ(log.Lines(), start + L"0], parent [1]\n" + warn + name +
                               L"error of TerminateProcess: " + ErrorText(31) + L"\n" + start +
                               L"1], parent [1]\n" + warn + name + L"error of OpenProcess: " +
                               ErrorText(5) + L"\n");
}

TEST_F(ProcessControl, NameIsEmptyWhenItCannotBeHad) {
    expectedAccess = PROCESS_QUERY_INFORMATION;
    openErrors = {{4, ERROR_ACCESS_DENIED}, {20, ERROR_INVALID_PARAMETER}};
    const FailingCall noName("kernel32.dll", "K32GetProcessImageFileNameW",
                             &K32GetProcessImageFileNameW, 0, 31);
    for (const DWORD pid : {0, 4, 20, 30}) {
        EXPECT_EQ(GetProcessFullName(pid), L"");
    }
    const std::wstring name = warn + L"GetProcessFullName: ";
    EXPECT_EQ(log.Lines(), name + L"OpenProcess for pid [20]: " + ErrorText(87) + L"\n" + name +
                               L"GetProcessImageFileName for pid [30]: " + ErrorText(31) + L"\n");
}
