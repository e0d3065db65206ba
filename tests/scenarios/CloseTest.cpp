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

// The gate in front of each stage, which has no other wait without a limit before the pin tool.
const InterceptionRow gate = CountCall({"WaitForSingleObject", L"4294967295"});
constexpr std::size_t gateRow = 1;

InterceptionRow HoldOnce(const char* function, const std::wstring& text) {
    return HoldCall({function, text, 1, 1});
}

const struct Moment {
    int stage;
    InterceptionRow call;
    const char* status;
} early[] = {
    {1, HoldOnce("CreateFileW", L"quorvane-manifest.json"), "TextPreparing"},
    {2, HoldOnce("CreateFileW", L"Quorvane\\version"), "TextPreparing"},
    {3, HoldOnce("SHFileOperationW", L"delete " + places.temp + L"\\quorvane.zip"),
     "TextDownloading"},
    {4, HoldOnce("CreateDirectoryW", L"Quorvane.TEMP"), "TextInstalling"},
};

const std::vector<InterceptionRow> late = {HoldOnce("MoveFileExW", places.extractFolder + L" > "),
                                           HoldOnce("RegCreateKeyExW", L"Uninstall\\{"),
                                           HoldOnce("CreateProcessW", L"syspin.exe"),
                                           HoldOnce("CreateProcessW", L"--install-app")};

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
            const HWND window = WaitForStatus(run.process, moment.status);
            PostMessageW(window, WM_CLOSE, 0, 0);
            const Box question = WaitForBox(run.process);
            EXPECT_TRUE(question.hasOwner);
            EXPECT_EQ(question.buttons, (Buttons{IDYES, IDNO}));
            // The question took the gate, and the operation comes to it and no further.
            run.interceptions.Release(0);
            EXPECT_TRUE(
                WaitUntil([&] { return run.interceptions.Calls(gateRow) == moment.stage + 2; }));
            EXPECT_EQ(LabelTexts(window).back(), ProductText(moment.status));
            run.Finish({{"TextConfirmCancel", button}});
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
    const HWND window = WaitForStatus(run.process, "TextDownloading");
    EXPECT_TRUE(WaitUntil([&] {
        RECT bar{};
        GetWindowRect(GetWindow(window, GW_CHILD), &bar);
        return bar.right - bar.left > 319 * 6 / 100;
    })) << "the bar does not move";
    PostMessageW(window, WM_CLOSE, 0, 0);
    run.Finish({{"TextConfirmCancel", IDYES}});
    EXPECT_TRUE(WaitUntil([] { return SeenRequests().back() == "GET /app.zip client-left"; }))
        << SeenRequests().back();
    State left = TakeState();
    Drop(left, "temp\\");
    EXPECT_EQ(Differences(InstalledState("1.0.0", L"former"), left), "");
}

TEST_F(Close, WhileTheFilesArePlacedIsIgnored) {
    SetupRun run(L"", late);
    for (std::size_t i = 0; i < late.size(); ++i) {
        SCOPED_TRACE(late[i].function);
        ASSERT_TRUE(run.interceptions.WaitUntilHeld(i));
        ExpectCloseIgnored(WaitForStatus(run.process, "TextInstalling"));
        run.interceptions.Release(i);
    }
    run.Finish();
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
}

TEST_F(Close, AtTheLastStageEndsTheProgramAtOnce) {
    // The worker stands in the pause at the end.
    SetupRun run(L"", {HoldCall({"Sleep", L"500"})});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    PostMessageW(WaitForStatus(run.process, "TextInstalling"), WM_CLOSE, 0, 0);
    run.Finish();
    State expected = StateAfterInstall("1.2.3");
    AddTree(expected, "app\\1.0.0\\", SampleFolder(L"former"));
    EXPECT_STATE(expected);
}

TEST_F(Close, OfAnUninstallIsIgnored) {
    SetupRun run(UninstallCopy({HoldCall({"CreateProcessW", L"--uninstall-app"})}));
    run.Answer("TextConfirmUninstall", IDYES);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    ExpectCloseIgnored(WaitForStatus(run.process, "TextUninstalling"));
    run.interceptions.Release(0);
    run.Finish({{"TextRemoved", IDOK}});
    WaitUntilNoneRuns(L"cmd.exe");
}

TEST_F(Close, SecondStartBringsTheWindowOfTheFirstForwardAndChangesNothing) {
    SetupRun run(L"", {HoldOnce("CreateProcessW", L"syspin.exe")});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    const HWND first = WaitForStatus(run.process, "TextInstalling");
    const Lines requests = SeenRequests();
    const State during = TakeState();
    const HWND other = CreateWindowExW(0, L"STATIC", L"in front", WS_POPUP | WS_VISIBLE, 0, 0, 90,
                                       90, nullptr, nullptr, nullptr, nullptr);
    for (const wchar_t* arguments : {L"", L"--update", L"--console"}) {
        SCOPED_TRACE(Narrow(arguments));
        SetForegroundWindow(other);
        EXPECT_EQ(GetForegroundWindow(), other);
        EXPECT_EQ(RunSetup(arguments), 0);
        EXPECT_TRUE(WaitUntil([&] { return GetForegroundWindow() == first; }));
    }
    DestroyWindow(other);
    EXPECT_STATE(during);
    EXPECT_EQ(SeenRequests(), requests);
    EXPECT_EQ(RunningPrograms(L"setup.exe").size(), 1U);
    run.interceptions.Release(0);
    run.Finish();
    EXPECT_TRUE(ReportHeads().empty());
}
