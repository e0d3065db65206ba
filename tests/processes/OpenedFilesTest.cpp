#include "processes/OpenedFileLines.h"
#include "processes/OpenedFiles.h"

#include <shlwapi.h>
#include <string.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "processes/OpenedHandles.h"
#include "support/FailingCall.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

constexpr LONG lengthMismatch = static_cast<LONG>(0xC0000004);
constexpr DWORD noSuchProcess = 0x7FFFFFF0;

// What the functions answer that the listing looks up at run time.
struct Machine {
    std::vector<SystemHandleEntry> handles;
    /// A first success means an empty table.
    LONG firstStatus = lengthMismatch, secondStatus = 0;
    int queries = 0;
    BOOL isWow64 = TRUE;
} machine;

LONG WINAPI Query(ULONG informationClass, BYTE* buffer, ULONG length, ULONG* needed) {
    EXPECT_EQ(informationClass, 16u);
    const DWORD count = static_cast<DWORD>(machine.handles.size());
    const DWORD size = count * sizeof(SystemHandleEntry);
    const bool isFirst = ++machine.queries == 1;
    EXPECT_EQ(length, isFirst ? 20 : 4 + size + 1024);
    memset(buffer, 0, length);
    if (isFirst) {
        *needed = machine.firstStatus == lengthMismatch ? 4 + size : 0;
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
            return name == std::string("NtQuerySystemInformation") ? AsProc(&Query)
                   : name == std::string("IsWow64Process")         ? AsProc(&AnswerIsWow64)
                                                                   : real(library, name);
        };
        const auto name = [this](auto real, HANDLE file, LPWSTR path, DWORD limit, DWORD flags) {
            EXPECT_EQ(limit, 260u);
            const char behaviour = names < plan.size() ? plan[names++] : '.';
            if (behaviour == 'h') {
                SetEvent(hung);
                Sleep(INFINITE);
            }
            return behaviour == 'l' ? limit : real(file, path, limit, flags);
        };
        const auto thread = [this](auto real, auto... given) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return ++threads == missingThread ? nullptr : real(given...);
        };
        // On a busy machine a mere 100 ms would pass for a hang.
        const auto wait = [this](auto real, HANDLE object, DWORD timeout) {
            const HANDLE either[] = {object, hung};
            return timeout != 100                                         ? real(object, timeout)
                   : WaitForMultipleObjects(2, either, FALSE, 20000) == 0 ? WAIT_OBJECT_0
                                                                          : DWORD{WAIT_TIMEOUT};
        };
        replaced = {
            Replace("kernel32.dll", "WaitForSingleObject", WaitForSingleObject, wait),
            Replace("kernel32.dll", "GetProcAddress", GetProcAddress, find),
            Replace("kernel32.dll", "GetFinalPathNameByHandleW", GetFinalPathNameByHandleW, name),
            Replace("kernel32.dll", "CreateThread", CreateThread, thread)};
    }
    ~OpenedFiles() {
        CloseFiles();
        CloseHandle(hung);
    }

    void CloseFiles() {
        for (const HANDLE handle : std::exchange(handles, {})) {
            EXPECT_TRUE(CloseHandle(handle));
        }
    }
    void Enter(HANDLE handle, DWORD owner) {
        const WORD value = static_cast<WORD>(reinterpret_cast<ULONG_PTR>(handle));
        machine.handles.push_back({owner, 0, 0, value, 0, 0});
    }
    void EnterFile(const std::wstring& name, DWORD owner = GetCurrentProcessId()) {
        WriteFileText(folder / name, "");
        handles.push_back(CreateFileW((folder / name).c_str(), GENERIC_READ, 7, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
        Enter(handles.back(), owner);
    }
    std::wstring Walk(const std::wstring& lowerFolder) {
        names = threads = machine.queries = 0;
        std::wstring listing;
        EnumerateOpenedFiles(lowerFolder, listing);
        return listing;
    }
    std::wstring Line(const std::wstring& path) const {
        return L"[" + std::to_wstring(own) + L"] " + program + L" [" + path + L"]\n";
    }
    std::wstring FileLine(const std::wstring& name) const {
        return Line(ToLowerCase(folder / name));
    }

    const DWORD own = GetCurrentProcessId();
    /// What the lines tell of this process.
    std::wstring program = L"Me.exe (X:\\Me.exe)";
    const ScratchFolder folder;
    /// Set once by the thread that hangs; resets itself.
    const HANDLE hung = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::vector<HANDLE> handles;
    /// Of the questions for a name: "." is answered, "h" hangs, "l" has too long a name.
    std::string plan;
    std::size_t names = 0;
    /// Threads made, and the one that cannot be, 0 for none.
    int threads = 0, missingThread = 0;
    std::vector<Replaced> replaced;
};

}  // namespace

TEST_F(OpenedFiles, AreListedBelowTheFolder) {
    EnterFile(L"app\\A");
    Enter(handles.back(), own);
    EnterFile(L"App.bkp\\b");
    EnterFile(L"other\\c");
    handles.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    Enter(handles.back(), own);
    Enter(nullptr, own);
    EnterFile(L"app\\d", noSuchProcess);
    Enter(handles.back(), 4);
    // All of them have started since the listing began.
    processCache.clear();
    program = L"processes_test.exe (" + OwnPath() + L")";
    const std::wstring foreign = L") [" + ToLowerCase(folder / L"app\\d") + L"]\n";
    EXPECT_EQ(Walk(ToLowerCase(folder / L"app")),
              FileLine(L"app\\a") + FileLine(L"app\\a") + FileLine(L"app.bkp\\b") +
                  L"[2147483632] Unknown Process (" + foreign + L"[4] System (" + foreign);
    EXPECT_EQ(threads, 1);
    EXPECT_EQ(Walk(ToLowerCase(folder.path.substr(2))), L"") << "in the middle of the path";
    // Nothing of the walk holds the file, and none of the others' handles was closed.
    CloseFiles();
    const HeldOpen alone(folder / L"app\\A");
}

TEST_F(OpenedFiles, SurviveWhatGoesWrong) {
    const std::wstring start = L" FindProcesses EnumerateOpenedFiles: ";
    const std::wstring hang = L"WARN" + start + L"created thread hang, recreate thread\n";
    const std::wstring noThread =
        L"ERROR" + start + L"error of CreateThread: " + ErrorText(ERROR_NOT_ENOUGH_MEMORY) + L"\n";
    const std::wstring a = FileLine(L"a"), b = FileLine(L"b"), c = FileLine(L"c");
    const struct {
        const char* plan;
        int missingThread;
        std::wstring listing;
        int threads;
        std::wstring lines;
    } cases[] = {
        {"h", 0, b + c, 2, hang},
        {"..h", 0, a + b, 1, hang},
        {".l", 0, a + Line(L"<name too long>") + c, 1, L""},
        {".h", 2, a, 2, hang + noThread},
        {"", 0, a + b + c, 1, L""},
    };
    EnterFile(L"a");
    EnterFile(L"b");
    EnterFile(L"c");
    for (const auto& test : cases) {
        SCOPED_TRACE(test.listing);
        plan = test.plan;
        missingThread = test.missingThread;
        const LogCapture log;
        EXPECT_EQ(Walk(ToLowerCase(folder.path)), test.listing);
        EXPECT_EQ(threads, test.threads);
        EXPECT_EQ(log.Lines(), test.lines);
    }
}

TEST_F(OpenedFiles, AreNotListedWithoutATable) {
    const std::wstring start =
        L"ERROR FindProcesses EnumerateOpenedFiles: some other error of "
        L"NtQuerySystemInformation";
    const std::tuple<LONG, LONG, std::wstring> cases[] = {
        {-1, 0, L" (needed == 0)" + ErrorText(0xFFFFFFFF)},
        {lengthMismatch, lengthMismatch, ErrorText(0xC0000004)},
    };
    EnterFile(L"a");
    for (const auto& [firstStatus, secondStatus, text] : cases) {
        const LogCapture log;
        machine.firstStatus = firstStatus;
        machine.secondStatus = secondStatus;
        EXPECT_EQ(Walk(ToLowerCase(folder.path)), L"");
        EXPECT_EQ(log.Lines(), start + text + L"\n");
    }
}

TEST_F(OpenedFiles, ModulesAreListedUnlessUnderWow64) {
    machine.firstStatus = 0;
    program = L"processes_test.exe (" + OwnPath() + L")";
    for (const BOOL isWow64 : {TRUE, FALSE}) {
        // Each listing looks at the processes anew.
        processCache = {{noSuchProcess, {L"stale", L""}}};
        machine.isWow64 = isWow64;
        machine.queries = 0;
        EXPECT_EQ(GetOpenedFilesListing(OwnPath()),
                  isWow64 ? L"" : Line(L"module " + ToLowerCase(OwnPath())));
        EXPECT_EQ(processCache.count(noSuchProcess), 0u);
    }
}

TEST_F(OpenedFiles, ModulesAreFoundByShortAndByCachedPaths) {
    std::wstring shortFolder = OwnPath();
    const auto shorten = [&](auto, LPCWSTR, LPWSTR path, DWORD) -> DWORD {
        wcscpy(path, shortFolder.c_str());
        return shortFolder.size();
    };
    const auto named = Replace("kernel32.dll", "GetShortPathNameW", GetShortPathNameW, shorten);
    processCache[0] = {L"idle", L""};
    std::wstring listing;
    EnumerateLoadedModules(L"x:\\none", listing);
    EXPECT_EQ(listing, Line(L"module " + ToLowerCase(OwnPath())));
    // An executable that cannot be reached under the path that its module tells.
    shortFolder.clear();
    listing.clear();
    const FailingCall exists("shlwapi.dll", "PathFileExistsW", &PathFileExistsW, FALSE);
    EnumerateLoadedModules(L":\\me.", listing);
    EXPECT_EQ(listing, Line(L"module x:\\me.exe"));
}
