#include "scenarios/ScenarioRow.h"

// A process without administrator rights meets a file that another program has open: as a running
// program's library, it can be read and not replaced.
namespace {

constexpr int elevate = 1;

// Who holds the file open stands in the report on open files.
void FreeAfterTheReport(Stage& stage) {
    EXPECT_TRUE(WaitUntil([] { return !ReceivedReports().empty(); }));
    stage.holders.clear();
}

// What the system shows of the dialog beside its buttons and text.
void LookClosely(Stage& stage) {
    const HWND dialog = stage.box.window;
    EXPECT_EQ(WindowText(GetDlgItem(dialog, elevate)), ProductText("TextRetry"));
    EXPECT_EQ(SendMessageW(dialog, DM_GETDEFID, 0, 0), MAKELRESULT(IDRETRY, DC_HASDEFID));
}

// The copy has been started, and the first process is about to end.
void SeeCopyWait(Stage& stage) {
    const DWORD first = stage.run->processId;
    const ScenarioProcess copy(L"setup.exe", first);
    EXPECT_TRUE(WaitUntil([&] { return copy.HasHandleOf(first); })) << "the copy does not wait";
    stage.holders.clear();
}

constexpr int backupRow = 2;

std::vector<ScenarioRow> Rows() {
    std::vector<InterceptionRow> blocked = BlockedMove(L"{app}\\1.2.3");
    // Holds the process between the dialog's answer and its own end.
    blocked[backupRow] = HoldCall({"SHFileOperationW", L"delete {app}\\1.2.3.BKP"});
    std::vector<InterceptionRow> refused = BlockedMove(L"{app}\\1.2.3");
    refused.insert(refused.begin(), FailCall({"ShellExecuteExW", L""}, ERROR_CANCELLED));
    const Step getRights = Answer("TextAccessBlocked", elevate);
    std::vector<ScenarioRow> rows = {
        {.name = "RetryAfterTheFileIsFreeGoesOn",
         .steps = {goOn, Answer("TextAccessBlocked", IDRETRY, LookClosely),
                   Answer("TextAccessBlocked", IDRETRY, FreeAfterTheReport)},
         .after = "1.2.3",
         .logged = {"Opened files in [{app}]\n",
                    "\n[" + std::to_string(GetCurrentProcessId()) + "] scenarios_life.exe (",
                    "quorvane\\1.2.3\\resources\\app\\main.js]\n"}},
        {.name = "ThatIsRefusedEndsTheRunWithAReport",
         .interceptions = refused,
         .steps = {goOn, getRights, installFailed},
         .left = {"temp\\Quorvane.TEMP\\=<samples\\full>"},
         .errors = {"install | placing files | 9 version folder not placed | {temp}\\Quorvane.TEMP "
                    "| {app}\\1.2.3"},
         .counts = {1}},
        {.name = "ByTheCopyTakesOverAfterTheFirstProcess",
         .run = "--start-app-invisible --app-start-args \"a b\"",
         .interceptions = blocked,
         .steps = {goOn, getRights, AtHeldCall(backupRow, SeeCopyWait), goOn},
         .after = "1.2.3",
         .requests = Requests(
             {{gotManifest, 1}, {"/app.zip 200", 1}, {gotManifest, 1}, {"/app.zip 200", 1}}),
         .starts = "--install-app=\"setup\"  --startup-app a b --app-start-time=#"},
        // The first process has used up the archive: the copy finds none.
        {.name = "OfAnUpdateFromAnArchiveFails",
         .files = {"temp\\update.zip=<www\\app.zip>"},
         .run = "--update {temp}\\update.zip",
         .interceptions = blocked,
         .steps = {getRights, AtHeldCall(backupRow)},
         .left = {"-temp\\update.zip", "temp\\Quorvane.TEMP\\=<samples\\full>"},
         .errors = {"update | beginning | 12 update files missing | {temp}\\update.zip"}}};
    for (ScenarioRow& row : rows) {
        row.installed = "1.2.3";
        row.files.push_back("app\\1.2.3\\added\\by.txt=the user");
        row.inUse = {"app\\1.2.3\\resources\\app\\main.js"};
        row.isPlainUser = true;
        if (row.interceptions.empty()) {
            row.interceptions = BlockedMove(L"{app}\\1.2.3");
        }
    }
    return rows;
}

const int rows = AddScenarios("Elevation", Rows());

}  // namespace
