#include "processes/OpenedFileLines.h"
#include "processes/OpenedFiles.h"

#include <shlwapi.h>
#include <string.h>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "processes/OpenedHandles.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

constexpr LONG lengthMismatch = static_cast<LONG>(0xC0000004);
constexpr DWORD noSuchProcess = 0x7FFFFFF0;

// What the functions answer that the listing looks up at run time.
struct Machine {
    std::vector<SystemHandleEntry> handles;
    /// A first success means an empty table.
    LONG firstStatus = lengthMismatch;
    LONG secondStatus = 0;
    bool hasQuery = true;
    BOOL isWow64 = TRUE;
    bool hasIsWow64 = true;
    /// Of the buffers that came.
    std::vector<ULONG> lengths;
} machine;

LONG WINAPI Query(ULONG informationClass, BYTE* buffer, ULONG length, ULONG* needed) {
    EXPECT_EQ(informationClass, 16u);
    machine.lengths.push_back(length);
    const DWORD count = static_cast<DWORD>(machine.handles.size());
    const DWORD size = count * sizeof(SystemHandleEntry);
    if (machine.lengths.size() == 1) {
        *needed = machine.firstStatus == lengthMismatch ? 4 + size : 0;
        memset(buffer, 0, length);
        return machine.firstStatus;
    }
    memcpy(buffer, &count, 4);
    memcpy(buffer + 4, machine.handles.data(), size);
    return machine.secondStatus;
}

BOOL WINAPI AnswerIsWow64(HANDLE, PBOOL flag) {
    *flag = machine.isWow64;
    return TRUE;
}

std::wstring OwnPath() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

class OpenedFiles : public testing::Test {
  protected:
    OpenedFiles() {
        machine = {};
        processCache = {{own, {L"Me.exe", L"X:\\Me.exe"}}};
        const auto find = [](auto real, HMODULE library, LPCSTR name) {
            if (strcmp(name, "NtQuerySystemInformation") == 0) {
                return machine.hasQuery ? AsProc(&Query) : nullptr;
            }
            if (strcmp(name, "IsWow64Process") == 0) {
                return machine.hasIsWow64 ? AsProc(&AnswerIsWow64) : nullptr;
            }
            return real(library, name);
        };
        const auto type = [this](auto real, HANDLE file) {
            if (++types == hangingType) {
                SetEvent(hung);
                Sleep(INFINITE);
            }
            return real(file);
        };
        const auto name = [this](auto real, HANDLE file, LPWSTR path, DWORD limit, DWORD flags) {
            EXPECT_EQ(limit, 260u);
            return ++names == longName ? limit : real(file, path, limit, flags);
        };
        const auto thread = [this](auto real, auto... given) {
            if (++threads == missingThread) {
                SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                return HANDLE{nullptr};
            }
            return real(given...);
        };
        // On a busy machine a mere 100 ms would pass for a hang.
        const auto wait = [this](auto real, HANDLE object, DWORD timeout) {
            const HANDLE either[] = {object, hung};
            if (timeout != 100) {
                return real(object, timeout);
            }
            return WaitForMultipleObjects(2, either, FALSE, 20000) == 0 ? WAIT_OBJECT_0
                                                                        : DWORD{WAIT_TIMEOUT};
        };
        replaced = {
            Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject, wait),
            Replace("kernel32.dll", "GetProcAddress", GetProcAddress, find),
            Replace("kernel32.dll", "GetFileType", GetFileType, type),
            Replace("kernel32.dll", "GetFinalPathNameByHandleW", GetFinalPathNameByHandleW, name),
            Replace("kernel32.dll", "CreateThread", CreateThread, thread)};
    }
    ~OpenedFiles() {
        CloseFiles();
        CloseHandle(hung);
    }

    void CloseFiles() {
        for (const HANDLE handle : handles) {
            EXPECT_TRUE(CloseHandle(handle));
        }
        handles.clear();
    }

    void Enter(HANDLE handle, DWORD owner = GetCurrentProcessId()) {
        SystemHandleEntry entry{};
        entry.processId = owner;
        entry.handle = static_cast<WORD>(reinterpret_cast<ULONG_PTR>(handle));
        machine.handles.push_back(entry);
    }
    void EnterFile(const std::wstring& name, DWORD owner = GetCurrentProcessId()) {
        WriteFileText(folder / name, "");
        handles.push_back(CreateFileW((folder / name).c_str(), GENERIC_READ, 7, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
        Enter(handles.back(), owner);
    }
    std::wstring Walk(const std::wstring& below) {
        types = names = threads = 0;
        machine.lengths.clear();
        std::wstring listing;
        EnumerateOpenedFiles(ToLowerCase(folder / below), listing);
        return listing;
    }
    std::wstring Line(const std::wstring& path) const {
        return L"[" + std::to_wstring(own) + L"] Me.exe (X:\\Me.exe) [" + path + L"]\n";
    }
    std::wstring FileLine(const std::wstring& name) const {
        return Line(ToLowerCase(folder / name));
    }

    const DWORD own = GetCurrentProcessId();
    const ScratchFolder folder;
    /// Set once by the thread that hangs; resets itself.
    const HANDLE hung = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::vector<HANDLE> handles;
    const LogCapture log;
    /// Calls, and which of them hangs, tells of a long name, brings no thread; 0 for none.
    int types = 0, names = 0, threads = 0;
    int hangingType = 0, longName = 0, missingThread = 0;
    std::vector<Replaced> replaced;
};

}  // namespace

TEST_F(OpenedFiles, AreListedBelowTheFolder) {
    EnterFile(L"app\\A");
    Enter(handles.back());
    EnterFile(L"App.bkp\\b");
    EnterFile(L"other\\c");
    handles.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    Enter(handles.back());
    Enter(nullptr);
    EnterFile(L"app\\gone", noSuchProcess);
    EXPECT_EQ(Walk(L"app"), FileLine(L"app\\a") + FileLine(L"app\\a") + FileLine(L"app.bkp\\b") +
                                L"[2147483632] Unknown Process () [" +
                                ToLowerCase(folder / L"app\\gone") + L"]\n");

    EXPECT_EQ(threads, 1);
    const std::vector<ULONG> lengths = {20, 4 + 16 * 7 + 1024};
    EXPECT_EQ(machine.lengths, lengths);
    std::wstring inTheMiddle;
    machine.lengths.clear();
    EnumerateOpenedFiles(ToLowerCase(folder.path.substr(2)), inTheMiddle);
    EXPECT_EQ(inTheMiddle, L"");
    // Nothing of the walk holds the file, and none of the others' handles was closed.
    CloseFiles();
    const HeldOpen alone(folder / L"app\\A");
}

TEST_F(OpenedFiles, SurviveWhatGoesWrong) {
    const std::wstring start = L" FindProcesses EnumerateOpenedFiles: ";
    const std::wstring hang = L"WARN" + start + L"created thread hang, recreate thread\n";
    const std::wstring noThread =
        L"ERROR" + start + L"error of CreateThread: " + ErrorText(ERROR_NOT_ENOUGH_MEMORY) + L"\n";
    const std::wstring tooLong = Line(L"<name too long>");
    struct {
        int hangingType, longName, missingThread;
        std::wstring listing;
        int threads;
        std::wstring lines;
    } const cases[] = {
        {1, 0, 0, FileLine(L"b") + FileLine(L"c"), 2, hang},
        {3, 0, 0, FileLine(L"a") + FileLine(L"b"), 1, hang},
        {0, 2, 0, FileLine(L"a") + tooLong + FileLine(L"c"), 1, L""},
        {0, 0, 1, L"", 1, noThread},
        {2, 0, 2, FileLine(L"a"), 2, hang + noThread},
        {0, 0, 0, FileLine(L"a") + FileLine(L"b") + FileLine(L"c"), 1, L""},
    };
    EnterFile(L"a");
    EnterFile(L"b");
    EnterFile(L"c");
    for (const auto& test : cases) {
        SCOPED_TRACE(test.listing);
        hangingType = test.hangingType;
        longName = test.longName;
        missingThread = test.missingThread;
        const LogCapture lines;
        EXPECT_EQ(Walk(L""), test.listing);
        EXPECT_EQ(threads, test.threads);
        EXPECT_EQ(lines.Lines(), test.lines);
    }
}

TEST_F(OpenedFiles, AreNotListedWithoutATable) {
    const std::wstring start = L"ERROR FindProcesses EnumerateOpenedFiles: ";
    const std::wstring other = start + L"some other error of NtQuerySystemInformation";
    struct {
        bool hasQuery;
        LONG firstStatus, secondStatus;
        std::wstring line;
    } const cases[] = {
        {false, lengthMismatch, 0, start + L"Getting proc of NtQuerySystemInformation failed\n"},
        {true, -1, 0, other + L" (needed == 0)" + ErrorText(0xFFFFFFFF) + L"\n"},
        {true, lengthMismatch, lengthMismatch, other + ErrorText(0xC0000004) + L"\n"},
        {true, 0, 0, L""},
    };
    EnterFile(L"a");
    for (const auto& test : cases) {
        const LogCapture lines;
        machine.hasQuery = test.hasQuery;
        machine.firstStatus = test.firstStatus;
        machine.secondStatus = test.secondStatus;
        EXPECT_EQ(Walk(L""), L"");
        EXPECT_EQ(lines.Lines(), test.line);
        EXPECT_EQ(threads, 0);
    }
}

TEST_F(OpenedFiles, ModulesAreListedUnlessUnderWow64) {
    machine.firstStatus = 0;
    const std::wstring path = OwnPath();
    const std::wstring line = L"[" + std::to_wstring(own) + L"] processes_test.exe (" + path +
                              L") [module " + ToLowerCase(path) + L"]\n";
    const std::pair<bool, BOOL> cases[] = {{false, TRUE}, {true, TRUE}, {true, FALSE}};
    for (const auto& [hasIsWow64, isWow64] : cases) {
        // Each listing looks at the processes anew.
        processCache = {{noSuchProcess, {L"stale", L""}}};
        machine.hasIsWow64 = hasIsWow64;
        machine.isWow64 = isWow64;
        machine.lengths.clear();
        EXPECT_EQ(GetOpenedFilesListing(path), hasIsWow64 && isWow64 ? L"" : line);
        EXPECT_EQ(processCache.count(noSuchProcess), 0u);
    }
}

TEST_F(OpenedFiles, ModulesAreFoundByShortAndByCachedPaths) {
    std::wstring shortFolder = OwnPath();
    const auto shortPath = Replace("kernel32.dll", "GetShortPathNameW", GetShortPathNameW,
                                   [&](auto, LPCWSTR, LPWSTR path, DWORD) {
                                       wcscpy(path, shortFolder.c_str());
                                       return static_cast<DWORD>(shortFolder.size());
                                   });
    processCache[0] = {L"idle", L""};
    std::wstring listing;
    EnumerateLoadedModules(L"x:\\none", listing);
    EXPECT_EQ(listing, Line(L"module " + ToLowerCase(OwnPath())));

    // An executable that cannot be reached under the path that its module tells.
    listing.clear();
    shortFolder.clear();
    const auto exists = Replace("shlwapi.dll", "PathFileExistsW", PathFileExistsW,
                                [](auto, LPCWSTR) { return FALSE; });
    EnumerateLoadedModules(L":\\me.", listing);
    EXPECT_EQ(listing, Line(L"module x:\\me.exe"));
}

TEST_F(OpenedFiles, LineDescribesTheProcess) {
    EXPECT_EQ(FormatOpenedFileLine(own, false, L"c:\\a"), Line(L"c:\\a"));
    EXPECT_EQ(FormatOpenedFileLine(own, true, L"c:\\a"), Line(L"module c:\\a"));
    EXPECT_EQ(FormatOpenedFileLine(4, false, L"x"), L"[4] System () [x]\n");
    EXPECT_EQ(FormatOpenedFileLine(noSuchProcess, false, L"x"),
              L"[2147483632] Unknown Process () [x]\n");
    processCache.clear();
    EXPECT_EQ(FormatOpenedFileLine(own, false, L"x"),
              L"[" + std::to_wstring(own) + L"] processes_test.exe (" + OwnPath() + L") [x]\n");
    EXPECT_EQ(processCache[own].name, L"processes_test.exe");
}

TEST_F(OpenedFiles, PrivilegeIsAskedForOnce) {
    EnableDebugPrivilege();
    const auto open = Replace("advapi32.dll", "OpenProcessToken", OpenProcessToken,
                              [](auto, auto...) { return FALSE; });
    EXPECT_TRUE(EnableDebugPrivilege());
}
