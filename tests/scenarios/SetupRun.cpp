#include "scenarios/SetupRun.h"

#include <psapi.h>
#include <strsafe.h>

#include <algorithm>
#include <span>

#include <gtest/gtest.h>

#include "scenarios/ScenarioRow.h"

namespace {

constexpr DWORD runBound = 60000;

// One for which the group of administrators counts for nothing but refusals.
HANDLE MakePlainToken() {
    HANDLE own = nullptr, plain = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own);
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size);
    SID_AND_ATTRIBUTES administrators = {sid, 0};
    EXPECT_TRUE(CreateRestrictedToken(own, 0, 1, &administrators, 0, nullptr, 0, nullptr, &plain));
    CloseHandle(own);
    return plain;
}

// The row's, with the names in their texts replaced.
std::vector<InterceptionRow> ExpandedInterceptions(const ScenarioRow& row) {
    std::vector<InterceptionRow> interceptions = row.interceptions;
    for (InterceptionRow& interception : interceptions) {
        auto& text = interception.text;
        const std::string expanded = ExpandNames(Narrow(text), GetPlaces(row.product));
        EXPECT_HRESULT_SUCCEEDED(StringCchCopyW(text, std::size(text), Widen(expanded).c_str()));
    }
    return interceptions;
}

// All that run; the path is empty where nobody may ask for it.
std::vector<RunningProgram> RunningPrograms() {
    std::vector<RunningProgram> programs;
    DWORD ids[1000], size = 0;
    EnumProcesses(ids, sizeof ids, &size);
    for (const DWORD id : std::span(ids, size / sizeof *ids)) {
        const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id);
        wchar_t path[MAX_PATH] = L"";
        DWORD length = MAX_PATH;
        QueryFullProcessImageNameW(process, 0, path, &length);
        CloseHandle(process);
        programs.push_back({id, path});
    }
    return programs;
}

}  // namespace

SetupRun::SetupRun(const ScenarioRow& row) : interceptions(ExpandedInterceptions(row)) {
    // As the system starts uninstallers: what is registered has no quotes.
    const std::string quote = row.program == "{uninstaller}" ? "" : "\"";
    const std::string text = quote + row.program + quote + (row.run.empty() ? "" : " ") + row.run;
    std::wstring line = Widen(ExpandNames(text, GetPlaces(row.product)));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    const HANDLE token = row.isPlainUser ? MakePlainToken() : nullptr;
    const bool started =
        CreateProcessAsUserW(token, nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED,
                             nullptr, nullptr, &startup, &created);
    EXPECT_EQ(started ? 0 : GetLastError(), 0U) << "cannot start " << text;
    CloseHandle(token);
    process = created.hProcess;
    processId = created.dwProcessId;
    if (started) {
        interceptions.Attach(created);
        CloseHandle(created.hThread);
    }
}

SetupRun::~SetupRun() {
    if (process != nullptr && WaitForSingleObject(process, 0) == WAIT_TIMEOUT) {
        ADD_FAILURE() << "the program still runs";
        TerminateProcess(process, 1);
    }
}

int ScenarioProcess::WaitForEnd() {
    if (WaitForSingleObject(process, runBound) != WAIT_OBJECT_0) {
        const Box box = FindBox(processId);
        ADD_FAILURE() << "the program does not end"
                      << (box && !box.texts.empty() ? "; it asks: " + Narrow(box.texts[0]) : "");
        return -1;
    }
    DWORD exitCode = ~0U;
    GetExitCodeProcess(process, &exitCode);
    return static_cast<int>(exitCode);
}

ScenarioProcess::ScenarioProcess(const std::wstring& exeName, DWORD except) {
    EXPECT_TRUE(WaitUntil([&] {
        for (const RunningProgram& program : ListPrograms(exeName)) {
            if (program.processId != except) {
                processId = program.processId;
                process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId);
            }
        }
        return process != nullptr;
    })) << "no other "
        << Narrow(exeName) << " runs";
}

bool ScenarioProcess::HasHandleOf(DWORD otherId) const {
    bool found = false;
    // Handles are multiples of four, the first ones low.
    for (ULONG_PTR value = 4; value < 0x1000 && !found; value += 4) {
        HANDLE copy = nullptr;
        DuplicateHandle(process, reinterpret_cast<HANDLE>(value), GetCurrentProcess(), &copy,
                        PROCESS_QUERY_LIMITED_INFORMATION, FALSE, 0);
        found = copy != nullptr && GetProcessId(copy) == otherId;
        CloseHandle(copy);
    }
    return found;
}

HWND WaitForStatus(HANDLE process, const char* text, const std::string& language) {
    const HWND window = WaitForWindow(process, windowClassName);
    EXPECT_TRUE(WaitUntil([&] {
        // None before the window has its labels.
        const std::vector<std::wstring> labels = LabelTexts(window);
        return !labels.empty() && labels.back() == ProductText(text, language);
    })) << text
        << " is not shown";
    return window;
}

void ExpectCloseIgnored(HWND window) {
    // A question would keep the window busy.
    DWORD_PTR answer = 0;
    EXPECT_NE(SendMessageTimeoutW(window, WM_CLOSE, 0, 0, SMTO_NORMAL, 5000, &answer), 0);
    EXPECT_EQ(answer, 1U);
    EXPECT_TRUE(IsWindow(window));
}

int RunSetup(const std::string& arguments, const std::string& program) {
    return SetupRun({.run = arguments, .program = program}).WaitForEnd();
}

std::vector<InterceptionRow> BlockedMove(const std::wstring& from, LONG passes) {
    return {FailCall({"MoveFileExW", from + L" > ", 1, passes * 5}, ERROR_SHARING_VIOLATION),
            FailCall({"SHFileOperationW", L"move " + from + L" > ", 1, passes * 6},
                     ERROR_ACCESS_DENIED),
            // Not the later ones, in which the run waits for the application.
            SkipCall({"Sleep", L"100", 1, passes * 9})};
}

std::vector<RunningProgram> ListPrograms(const std::wstring& exeName) {
    std::vector<RunningProgram> programs = RunningPrograms();
    std::erase_if(programs, [&](const RunningProgram& program) {
        return !program.path.ends_with(L"\\" + exeName);
    });
    return programs;
}

bool IsBelow(const std::wstring& path, const std::wstring& folder) {
    return path.size() > folder.size() && path[folder.size()] == L'\\' &&
           _wcsnicmp(path.c_str(), folder.c_str(), folder.size()) == 0;
}

std::vector<RunningProgram> OwnPrograms() {
    std::vector<RunningProgram> own = RunningPrograms();
    std::erase_if(own, [](const RunningProgram& program) {
        return program.processId == GetCurrentProcessId() ||
               !(program.path.ends_with(L"\\cmd.exe") || IsBelow(program.path, L"C:\\users") ||
                 IsBelow(program.path, PathOf("work")) || IsBelow(program.path, PathOf("volume")));
    });
    return own;
}

bool AllRun(const std::vector<RunningProgram>& programs) {
    return std::ranges::all_of(programs, [running = OwnPrograms()](const RunningProgram& program) {
        return std::ranges::count(running, program) == 1;
    });
}

void StartApplication(const Places& places) {
    EXPECT_EQ(RunSetup("", Narrow(PathOf("starter", places))), 0);
    const std::wstring name = Widen(places.name) + L".exe";
    EXPECT_TRUE(WaitUntil([&] { return ListPrograms(name).size() == 5; }))
        << "the application does not start";
}

void EndPrograms() {
    // Again while there were some, since they may have started others meanwhile.
    for (int round = 0; round < 10 && !OwnPrograms().empty(); ++round) {
        for (const RunningProgram& program : OwnPrograms()) {
            const HANDLE process =
                OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, program.processId);
            TerminateProcess(process, 1);
            WaitForSingleObject(process, 10000);
            CloseHandle(process);
        }
    }
}
