#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

// The user closes the window while the operation stands at a certain call.
class Close : public Scenario {
  protected:
    void SetUp() override {
        Scenario::SetUp();
        PublishVersion("1.2.3");
        PutInstallation("1.0.0");
    }
};

const Places& places = GetPlaces();

// The gate in front of each stage, which has no other wait without a limit before the pin tool.
const InterceptionRow gate = CountCall({"WaitForSingleObject", L"4294967295"});
constexpr std::size_t gateRow = 1;

InterceptionRow HoldOnce(const char* function, const std::wstring& text) {
    return HoldCall({function, text, 1, 1});
}

struct Moment {
    int stage;
    InterceptionRow call;
    const char* status;
};

const Moment early[] = {
    {1, HoldOnce("CreateFileW", L"quorvane-manifest.json"), "TextPreparing"},
    {2, HoldOnce("CreateFileW", L"Quorvane\\version"), "TextPreparing"},
    {3, HoldOnce("SHFileOperationW", L"delete " + places.temp + L"\\quorvane.zip"),
     "TextDownloading"},
    {4, HoldOnce("CreateDirectoryW", L"Quorvane.TEMP"), "TextInstalling"},
};

const Moment late[] = {
    {5, HoldOnce("MoveFileExW", places.extractFolder + L" > "), "TextInstalling"},
    {6, HoldOnce("RegCreateKeyExW", L"Uninstall\\{"), "TextInstalling"},
    {7, HoldOnce("CreateProcessW", L"syspin.exe"), "TextInstalling"},
    {8, HoldOnce("CreateProcessW", L"--install-app"), "TextInstalling"},
};

// Empty before the window has its labels.
std::wstring Status(HWND window) {
    const std::vector<std::wstring> labels = LabelTexts(window);
    return labels.empty() ? L"" : labels.back();
}

HWND WaitForStatus(const SetupRun& run, const char* status) {
    const HWND window = WaitForWindow(run.process, windowClassName);
    EXPECT_TRUE(WaitUntil([&] { return Status(window) == ProductText(status); }))
        << status << " is not shown";
    return window;
}

// Comes back when the window has dealt with it: a question would keep it busy.
void ExpectIgnored(HWND window) {
    DWORD_PTR answer = 0;
    EXPECT_NE(SendMessageTimeoutW(window, WM_CLOSE, 0, 0, SMTO_NORMAL, 5000, &answer), 0);
    EXPECT_EQ(answer, 1U);
    EXPECT_TRUE(IsWindow(window));
}

}  // namespace

TEST_F(Close, BeforeTheFilesArePlacedAsksAndStopsTheOperationAtItsNextStage) {
    for (const Moment& moment : early) {
        for (const int button : {IDNO, IDYES}) {
            SCOPED_TRACE(std::to_string(moment.stage) + (button == IDYES ? " Yes" : " No"));
            SetUp();
            // The stages 3 and 4 look at it.
            WriteFileText(places.temp + L"\\quorvane.zip", "of an interrupted run");
            SetupRun run(L"", {moment.call, gate});
            ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
            EXPECT_EQ(run.interceptions.Calls(gateRow), moment.stage);
            const HWND window = WaitForStatus(run, moment.status);
            PostMessageW(window, WM_CLOSE, 0, 0);
            const Box question = WaitForBox(run.process);
            EXPECT_TRUE(question.hasOwner);
            EXPECT_EQ(question.buttons, (std::vector<int>{IDYES, IDNO}));
            // The question took the gate, and the operation comes to it and no further.
            run.interceptions.Release(0);
            EXPECT_TRUE(
                WaitUntil([&] { return run.interceptions.Calls(gateRow) == moment.stage + 2; }));
            EXPECT_EQ(Status(window), ProductText(moment.status));
            run.Answer("TextConfirmCancel", button);
            EXPECT_EQ(run.WaitForEnd(), 0);
            EXPECT_TRUE(ReportHeads().empty());
            State state = TakeState();
            EXPECT_EQ(state["app\\version"], button == IDYES ? "1.0.0" : "1.2.3");
            EXPECT_EQ(RunningPrograms(appExeName).empty(), button == IDYES);
            Drop(state, "temp\\");
            if (button == IDYES) {
                EXPECT_EQ(Differences(InstalledState("1.0.0", L"former"), state), "");
            }
        }
    }
}

// The transfer itself is ended, wherever it is.
TEST_F(Close, DuringTheTransferEndsIt) {
    AddFault("/app.zip", "slow", -1);
    SetupRun run(L"");
    const HWND window = WaitForStatus(run, "TextDownloading");
    EXPECT_TRUE(WaitUntil([&] {
        RECT bar{};
        GetWindowRect(GetWindow(window, GW_CHILD), &bar);
        return bar.right - bar.left > 319 * 6 / 100;
    })) << "the bar does not move";
    PostMessageW(window, WM_CLOSE, 0, 0);
    run.Answer("TextConfirmCancel", IDYES);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_TRUE(WaitUntil([] { return SeenRequests().back() == "GET /app.zip client-left"; }))
        << SeenRequests().back();
    State left = TakeState();
    Drop(left, "temp\\");
    EXPECT_EQ(Differences(InstalledState("1.0.0", L"former"), left), "");
}

TEST_F(Close, WhileTheFilesArePlacedIsIgnored) {
    std::vector<InterceptionRow> calls;
    for (const Moment& moment : late) {
        calls.push_back(moment.call);
    }
    SetupRun run(L"", calls);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(late[i].stage);
        ASSERT_TRUE(run.interceptions.WaitUntilHeld(i));
        ExpectIgnored(WaitForStatus(run, late[i].status));
        run.interceptions.Release(i);
    }
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
}

TEST_F(Close, AtTheLastStageEndsTheProgramAtOnce) {
    // The worker stands in the pause at the end.
    SetupRun run(L"", {HoldCall({"Sleep", L"500"})});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    PostMessageW(WaitForStatus(run, "TextInstalling"), WM_CLOSE, 0, 0);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_STATE([] {
        State state = StateAfterInstall("1.2.3");
        AddTree(state, "app\\1.0.0\\", SampleFolder(L"former"));
        return state;
    }());
}

TEST_F(Close, OfAnUninstallIsIgnored) {
    const std::wstring copy = places.temp + L"\\Quorvane.uninstall.exe";
    CopyFileW(GetPrepared().setup.c_str(), copy.c_str(), FALSE);
    SetupRun run({.arguments = L"--uninstall",
                  .interceptions = {HoldCall({"CreateProcessW", L"--uninstall-app"})},
                  .program = copy});
    run.Answer("TextConfirmUninstall", IDYES);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    ExpectIgnored(WaitForStatus(run, "TextUninstalling"));
    run.interceptions.Release(0);
    run.Answer("TextRemoved", IDOK);
    EXPECT_EQ(run.WaitForEnd(), 0);
    WaitUntilNoneRuns(L"cmd.exe");
}

TEST_F(Close, SecondStartBringsTheWindowOfTheFirstForward) {
    SetupRun run(L"", {HoldOnce("CreateProcessW", L"syspin.exe")});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    const HWND first = WaitForStatus(run, "TextInstalling");
    const HWND other = CreateWindowExW(0, L"STATIC", L"in front", WS_POPUP | WS_VISIBLE, 0, 0, 90,
                                       90, nullptr, nullptr, nullptr, nullptr);
    SetForegroundWindow(other);
    EXPECT_EQ(GetForegroundWindow(), other);
    for (const wchar_t* arguments : {L"", L"--update"}) {
        EXPECT_EQ(RunSetup(arguments), 0);
        EXPECT_TRUE(WaitUntil([&] { return GetForegroundWindow() == first; }));
        SetForegroundWindow(other);
    }
    DestroyWindow(other);
    EXPECT_EQ(RunningPrograms(L"setup.exe").size(), 1U);
    run.interceptions.Release(0);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_TRUE(ReportHeads().empty());
}
