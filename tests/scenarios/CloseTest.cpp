#include <algorithm>

#include "scenarios/ScenarioRow.h"

// The user closes the window while the operation stands at a certain call.
namespace {

InterceptionRow HoldOnce(const char* function, const std::wstring& text) {
    return HoldCall({function, text, 1, 1});
}

// The gate in front of each stage, which has no other wait without a limit before the pin tool.
constexpr wchar_t gate[] = L"4294967295";
constexpr std::size_t gateRow = 1;

const Lines archive = {"temp\\quorvane.zip=<www\\app.zip>"};
const Lines unpacked = {"-temp\\quorvane.zip", "temp\\Quorvane.TEMP\\=<samples\\full>"};

const struct Moment {
    int stage;
    InterceptionRow call;
    const char* status;
    int loads;
    Lines left;  // when the run is given up at the next stage
} early[] = {
    {0, HoldOnce("WaitForSingleObject", gate), "TextPreparing", 0, {}},
    {1, HoldOnce("CreateFileW", L"quorvane-manifest.json"), "TextPreparing", 1, {}},
    {2, HoldOnce("CreateFileW", L"Quorvane\\version"), "TextPreparing", 1, {}},
    {3, HoldOnce("SHFileOperationW", L"delete {temp}\\quorvane.zip"), "TextDownloading", 2,
     archive},
    {4, HoldOnce("CreateDirectoryW", L"Quorvane.TEMP"), "TextInstalling", 2, unpacked},
};

// With the answer Yes the operation ends at the next stage.
ScenarioRow CloseEarly(const Moment& moment, bool givesUp) {
    const auto close = [=](Stage& stage) {
        EXPECT_EQ(stage.run->interceptions.Calls(gateRow), std::max(moment.stage, 1));
        PostMessageW(WaitForStatus(stage.run->process, moment.status), WM_CLOSE, 0, 0);
        EXPECT_TRUE(WaitForBox(stage.run->process)) << "no question";
    };
    // The question took the gate, and the operation comes to it and no further.
    const auto look = [=](Stage& stage) {
        EXPECT_TRUE(
            WaitUntil([&] { return stage.run->interceptions.Calls(gateRow) == moment.stage + 2; }));
        WaitForStatus(stage.run->process, moment.status);
    };
    return {
        .name = "AtStage" + std::to_string(moment.stage) + (givesUp ? "ThenYes" : "ThenNo"),
        .installed = "1.0.0",
        .files = {"temp\\quorvane.zip=of an interrupted run"},
        .interceptions = {moment.call, CountCall({"WaitForSingleObject", gate})},
        .steps = {AtHeldCall(0, close), Answer("TextConfirmCancel", givesUp ? IDYES : IDNO, look)},
        .after = givesUp ? "" : "1.2.3",
        .left = givesUp ? moment.left : Lines{},
        .loads = givesUp ? moment.loads : -1};
}

std::vector<ScenarioRow> EarlyRows() {
    std::vector<ScenarioRow> rows;
    for (const Moment& moment : early) {
        rows.push_back(CloseEarly(moment, true));
        if (moment.stage % 4 == 0) {
            rows.push_back(CloseEarly(moment, false));
        }
    }
    return rows;
}

// The transfer itself is ended, wherever it is.
void CloseWhenTheBarMoves(Stage& stage) {
    const HWND window = WaitForStatus(stage.run->process, "TextDownloading");
    EXPECT_TRUE(WaitUntil([&] {
        RECT bar{};
        GetWindowRect(GetWindow(window, GW_CHILD), &bar);
        return bar.right - bar.left > 319 * 6 / 100;
    })) << "the bar does not move";
    PostMessageW(window, WM_CLOSE, 0, 0);
}

Step CloseInVain(int held, const char* status) {
    return AtHeldCall(
        held, [=](Stage& stage) { ExpectCloseIgnored(WaitForStatus(stage.run->process, status)); });
}

void CloseAtTheEnd(Stage& stage) {
    PostMessageW(WaitForStatus(stage.run->process, "TextInstalling"), WM_CLOSE, 0, 0);
    stage.run->WaitForEnd();
}

// Each brings the first one's window forward and ends.
void StartOthers(Stage& stage) {
    const HWND first = WaitForStatus(stage.run->process, "TextInstalling");
    const HWND other = CreateWindowExW(0, L"STATIC", L"in front", WS_POPUP | WS_VISIBLE, 0, 0, 90,
                                       90, nullptr, nullptr, nullptr, nullptr);
    for (const char* arguments : {"", "--update", "--console"}) {
        SetForegroundWindow(other);
        EXPECT_EQ(GetForegroundWindow(), other);
        EXPECT_EQ(RunSetup(arguments), 0);
        EXPECT_TRUE(WaitUntil([&] { return GetForegroundWindow() == first; }));
    }
    DestroyWindow(other);
}

constexpr char installing[] = "TextInstalling";

const int earlyRows = AddScenarios("Close", EarlyRows());
const int rows = AddScenarios(
    "Close", {{.name = "DuringTheTransferEndsIt",
               .installed = "1.0.0",
               .faults = {{"/app.zip", "slow"}},
               .steps = {{.act = CloseWhenTheBarMoves}, Answer("TextConfirmCancel", IDYES)},
               .requests = Requests({{gotManifest, 1}, {"/app.zip client-left", 1}})},
              {.name = "WhileTheFilesArePlacedIsIgnored",
               .interceptions = {HoldOnce("MoveFileExW", L"{temp}\\Quorvane.TEMP > "),
                                 HoldOnce("RegCreateKeyExW", L"Uninstall\\{"),
                                 HoldOnce("CreateProcessW", L"syspin.exe"),
                                 HoldOnce("CreateProcessW", L"--install-app")},
               .steps = {CloseInVain(0, installing), CloseInVain(1, installing),
                         CloseInVain(2, installing), CloseInVain(3, installing)},
               .after = "1.2.3"},
              // The worker stands in the pause at the end.
              {.name = "AtTheLastStageEndsTheProgramAtOnce",
               .interceptions = {HoldCall({"Sleep", L"500"})},
               .steps = {AtHeldCall(0, CloseAtTheEnd)},
               .after = "1.2.3"},
              {.name = "OfAnUninstallIsIgnored",
               .installed = "1.2.3",
               .program = "{copy}",
               .interceptions = {HoldCall({"CreateProcessW", L"--uninstall-app"})},
               .steps = {confirmUninstall, CloseInVain(0, "TextUninstalling"), removed},
               .after = nothing},
              {.name = "SecondStartBringsTheWindowOfTheFirstForwardAndChangesNothing",
               .interceptions = {HoldOnce("CreateProcessW", L"syspin.exe")},
               .steps = {AtHeldCall(0, StartOthers)},
               .after = "1.2.3"}});

}  // namespace
