#include "scenarios/SetupRun.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "scenarios/Prepared.h"
#include "scenarios/Server.h"
#include "support/Waiting.h"

namespace {

constexpr DWORD runBound = 60000;

// The own token, or one for which the group of administrators counts for nothing but refusals.
HANDLE MakeToken(bool isPlainUser) {
    HANDLE own = nullptr;
    HANDLE plain = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own);
    if (!isPlainUser) {
        return own;
    }
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size);
    SID_AND_ATTRIBUTES administrators = {sid, 0};
    EXPECT_TRUE(CreateRestrictedToken(own, 0, 1, &administrators, 0, nullptr, 0, nullptr, &plain));
    CloseHandle(own);
    return plain;
}

}  // namespace

SetupRun::SetupRun(SetupCall call) : interceptions(call.interceptions) {
    if (call.program.empty()) {
        call.program = GetPrepared().setup;
    }
    std::wstring line =
        L"\"" + (call.commandName.empty() ? call.program : call.commandName) + L"\"";
    line += call.arguments.empty() ? L"" : L" " + call.arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    const HANDLE token = MakeToken(call.isPlainUser);
    const bool started = CreateProcessAsUserW(
        token, call.program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED,
        nullptr, call.startFolder.empty() ? nullptr : call.startFolder.c_str(), &startup, &created);
    EXPECT_EQ(started ? 0 : GetLastError(), 0U) << "cannot start " << Narrow(call.program);
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
        WaitForSingleObject(process, runBound);
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

void ScenarioProcess::Answer(const char* text, int button) {
    AnswerBox(process, text, button);
}

void ScenarioProcess::Finish(const std::vector<BoxAnswer>& answers) {
    for (const auto& [text, button] : answers) {
        Answer(text, button);
    }
    EXPECT_EQ(WaitForEnd(), 0);
}

void AnswerBox(HANDLE process, const char* text, int button, const char* language) {
    const Box box = WaitForBox(process);
    ASSERT_TRUE(box) << "no box " << text;
    EXPECT_EQ(Narrow(box.caption), Narrow(ProductText("TextTitle", language)));
    ASSERT_FALSE(box.texts.empty()) << "no text in the box " << text;
    EXPECT_EQ(Narrow(box.texts.back()), Narrow(ProductText(text, language)));
    EXPECT_TRUE(PressButton(box, button)) << "cannot press " << button << " of " << text;
}

HWND WaitForStatus(HANDLE process, const char* text, const char* language) {
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

int RunSetup(const std::wstring& arguments) {
    return SetupRun(arguments).WaitForEnd();
}

std::string RunInWindow(const SetupCall& call, const std::vector<BoxAnswer>& answers) {
    SetupRun(call).Finish(answers);
    std::vector<std::string> heads = ReportHeads();
    std::erase(heads, processReportHead);
    EXPECT_LE(heads.size(), 1U) << "more than one report on one run";
    return heads.empty() ? "" : heads.back();
}

std::string RunFailing(const SetupCall& call) {
    return RunInWindow(call, {{"TextInstallFailed", IDOK}});
}

SetupCall UninstallCopy(const std::vector<InterceptionRow>& interceptions) {
    const std::wstring& copy = GetPlaces().uninstallCopy;
    CopyFileW(GetPrepared().setup.c_str(), copy.c_str(), FALSE);
    return {.arguments = L"--uninstall", .interceptions = interceptions, .program = copy};
}

std::vector<std::string> ReportHeads() {
    std::vector<std::string> heads;
    for (const std::string& report : ReceivedReports()) {
        const std::string head = report.substr(0, report.find(" // local time: "));
        // Behind the last colon stands the system's text of the error.
        heads.push_back(head.substr(0, std::min(head.size(), head.rfind(" : "))));
    }
    return heads;
}

std::vector<InterceptionRow> BlockedMove(const std::wstring& from, LONG passes) {
    const auto times = [passes](LONG count) {
        return passes == everyCall ? everyCall : passes * count;
    };
    return {
        FailCall({"MoveFileExW", from + L" > ", 1, times(5)}, ERROR_SHARING_VIOLATION),
        FailCall({"SHFileOperationW", L"move " + from + L" > ", 1, times(6)}, ERROR_ACCESS_DENIED),
        // Not the later ones, in which the run waits for the application.
        SkipCall({"Sleep", L"100", 1, times(9)})};
}

std::string MoveFailure(const std::string& stage, const std::wstring& from,
                        const std::wstring& to) {
    return stage + " : Ошибка переноса каталога программы : " + Narrow(from + L" : " + to);
}
