#include "scenarios/SetupRun.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "scenarios/Prepared.h"
#include "scenarios/Server.h"

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

bool StartSuspended(const SetupCall& call, PROCESS_INFORMATION& created) {
    std::wstring line =
        L"\"" + (call.commandName.empty() ? call.program : call.commandName) + L"\"";
    line += call.arguments.empty() ? L"" : L" " + call.arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    const HANDLE token = MakeToken(call.isPlainUser);
    const bool started = CreateProcessAsUserW(
        token, call.program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED,
        nullptr, call.startFolder.empty() ? nullptr : call.startFolder.c_str(), &startup, &created);
    const DWORD error = GetLastError();
    CloseHandle(token);
    SetLastError(error);
    return started;
}

}  // namespace

SetupRun::SetupRun(SetupCall call) : interceptions(call.interceptions) {
    if (call.program.empty()) {
        call.program = GetPrepared().setup;
    }
    PROCESS_INFORMATION created{};
    if (!StartSuspended(call, created)) {
        ADD_FAILURE() << "cannot start " << Narrow(call.program) << ", error " << GetLastError();
        return;
    }
    process = created.hProcess;
    processId = created.dwProcessId;
    interceptions.Attach(created);
    CloseHandle(created.hThread);
}

SetupRun::~SetupRun() {
    if (process == nullptr) {
        return;
    }
    if (WaitForSingleObject(process, 0) == WAIT_TIMEOUT) {
        ADD_FAILURE() << "the program still runs";
        TerminateProcess(process, 1);
        WaitForSingleObject(process, runBound);
    }
    CloseHandle(process);
}

int SetupRun::WaitForEnd() {
    DWORD exitCode = ~0U;
    if (WaitForSingleObject(process, runBound) != WAIT_OBJECT_0) {
        const Box box = FindBox(processId);
        ADD_FAILURE() << "the program does not end"
                      << (box && !box.texts.empty() ? "; it asks: " + Narrow(box.texts[0]) : "");
        return -1;
    }
    GetExitCodeProcess(process, &exitCode);
    return static_cast<int>(exitCode);
}

void SetupRun::Answer(const char* text, int button) {
    AnswerBox(process, text, button);
}

void AnswerBox(HANDLE process, const char* text, int button) {
    const Box box = WaitForBox(process);
    ASSERT_TRUE(box) << "no box " << text;
    EXPECT_EQ(Narrow(box.caption), Narrow(ProductText("TextTitle")));
    ASSERT_FALSE(box.texts.empty()) << "no text in the box " << text;
    EXPECT_EQ(Narrow(box.texts.back()), Narrow(ProductText(text)));
    EXPECT_TRUE(PressButton(box, button)) << "cannot press " << button << " of " << text;
}

int RunSetup(const std::wstring& arguments, const std::vector<InterceptionRow>& interceptions) {
    SetupRun run(arguments, interceptions);
    return run.WaitForEnd();
}

std::string RunInWindow(const SetupCall& call, const std::vector<BoxAnswer>& answers) {
    SetupRun run(call);
    for (const BoxAnswer& answer : answers) {
        run.Answer(answer.text, answer.button);
    }
    EXPECT_EQ(run.WaitForEnd(), 0);
    std::vector<std::string> heads = ReportHeads();
    std::erase(heads, processReportHead);
    EXPECT_LE(heads.size(), 1U) << "more than one report on one run";
    return heads.empty() ? "" : heads.back();
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
