#include <windows.h>

#include <algorithm>
#include <utility>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

const std::wstring versionFolder = places.app + L"\\1.2.3";
const std::wstring blockedFile = versionFolder + L"\\resources\\app\\main.js";
constexpr int elevate = 1;
constexpr wchar_t setupName[] = L"setup.exe";

// A process without administrator rights meets a file that another program has open.
class Elevation : public Scenario {
  protected:
    void SetUp() override {
        Scenario::SetUp();
        PublishVersion("1.2.3");
        PutInstallation("1.2.3");
        WriteFileText(versionFolder + L"\\added\\by.txt", "the user");
        // As a running program's library: it can be read and not replaced.
        holder = CreateFileW(blockedFile.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                             OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    }
    void TearDown() override {
        CloseHandle(holder);
        Scenario::TearDown();
    }
    void Free() {
        CloseHandle(std::exchange(holder, nullptr));
    }

  private:
    HANDLE holder = nullptr;
};

constexpr std::size_t backupRow = 2;

SetupCall PlainCall(const std::wstring& arguments) {
    std::vector<InterceptionRow> rows = BlockedMove(versionFolder);
    // Holds the process between the dialog's answer and its own end.
    rows[backupRow] = HoldCall({"SHFileOperationW", L"delete " + versionFolder + L".BKP"});
    return {.arguments = arguments, .interceptions = rows, .isPlainUser = true};
}

Box ReadElevationDialog(const SetupRun& run) {
    const Box box = WaitForBox(run.process);
    EXPECT_EQ(box.caption, ProductText("TextTitle"));
    EXPECT_EQ(std::ranges::count(box.texts, ProductText("TextAccessBlocked")), 1);
    Buttons buttons = box.buttons;
    std::ranges::sort(buttons);
    EXPECT_EQ(buttons, (Buttons{elevate, IDCANCEL, IDRETRY}));
    EXPECT_TRUE(box.hasOwner);
    EXPECT_EQ(WindowText(GetDlgItem(box.window, elevate)), ProductText("TextRetry"));
    EXPECT_EQ(SendMessageW(box.window, DM_GETDEFID, 0, 0), MAKELRESULT(IDRETRY, DC_HASDEFID));
    return box;
}

// Who holds the file open, as the report on the processes tells it.
void ExpectHolderInReport() {
    EXPECT_TRUE(WaitUntil([] { return !ReceivedReports().empty(); }));
    const Lines reports = ReceivedReports();
    ASSERT_FALSE(reports.empty());
    EXPECT_TRUE(reports[0].starts_with(std::string(processReportHead) + " : "));
    ExpectInOrder(reports[0],
                  {"Opened files in [" + Narrow(places.app) + "]\n",
                   "\n[" + std::to_string(GetCurrentProcessId()) + "] scenarios_life.exe (",
                   "quorvane\\1.2.3\\resources\\app\\main.js]\n"});
}

// Answers the dialog; the run then stands before it deletes its backup.
void AnswerDialog(SetupRun& run, int button) {
    const Box box = ReadElevationDialog(run);
    ExpectHolderInReport();
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(setupName).size() == 1; }));
    PressButton(box, button);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(backupRow));
}

}  // namespace

TEST_F(Elevation, RetryAfterTheFileIsFreeGoesOn) {
    SetupRun run(PlainCall(L""));
    run.Answer("TextUpToDateContinue", IDOK);
    PressButton(ReadElevationDialog(run), IDRETRY);
    const Box again = ReadElevationDialog(run);
    ExpectHolderInReport();
    Free();
    PressButton(again, IDRETRY);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(backupRow));
    run.interceptions.Release(backupRow);
    run.Finish();
    EXPECT_STATE(WithReport(StateAfterInstall("1.2.3")));
    // One report on the processes, whatever the number of dialogs.
    EXPECT_EQ(ReportHeads(), Lines{processReportHead});
}

TEST_F(Elevation, CancelEndsTheRunWithAReport) {
    State expected = WithReport(TakeState());
    AddUnpacked(expected);
    SetupRun run(PlainCall(L""));
    run.Answer("TextUpToDateContinue", IDOK);
    AnswerDialog(run, IDCANCEL);
    run.interceptions.Release(backupRow);
    run.Finish({{"TextInstallFailed", IDOK}});
    EXPECT_EQ(ReportHeads(),
              (Lines{processReportHead, MoveFailure("Установка : Установка файлов...",
                                                    places.extractFolder, versionFolder)}));
    Free();
    EXPECT_STATE(expected);
}

TEST_F(Elevation, TheElevatedCopyTakesOverAfterTheFirstProcess) {
    SetupRun run(PlainCall(L"--start-app-invisible --app-start-args \"a b\""));
    run.Answer("TextUpToDateContinue", IDOK);
    AnswerDialog(run, elevate);
    OtherProgram copy(setupName, run.processId);
    EXPECT_EQ(copy.CommandLine(), L"\"" + GetPrepared().setup + L"\" --runas " +
                                      std::to_wstring(run.processId) +
                                      L" \"--start-app-invisible\" \"--app-start-args\" \"a b\"");
    EXPECT_TRUE(WaitUntil([&] { return copy.HasHandleOf(run.processId); }))
        << "the copy does not wait for the first process";
    Free();
    run.interceptions.Release(backupRow);
    run.Finish();
    copy.Finish({{"TextUpToDateContinue", IDOK}});
    EXPECT_STATE(WithReport(StateAfterInstall("1.2.3")));
    EXPECT_EQ(ReportHeads(), Lines{processReportHead});
    const Lines calls = StarterCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_NE(calls[0].find(" --startup-app a b --app-start-time="), std::string::npos) << calls[0];
}

// The first process has used up the archive: the copy finds none.
TEST_F(Elevation, OfAnUpdateFromAnArchiveFails) {
    const std::wstring archive = places.temp + L"\\update.zip";
    CopyFileW((GetPrepared().folder + L"\\www\\app.zip").c_str(), archive.c_str(), FALSE);
    SetupRun run(PlainCall(L"--update " + archive));
    AnswerDialog(run, elevate);
    OtherProgram copy(setupName, run.processId);
    run.interceptions.Release(backupRow);
    run.Finish();
    copy.Finish();
    EXPECT_EQ(ReportHeads(),
              (Lines{processReportHead,
                     "Обновление : Процесс обновления приложения... : Не указаны файлы обновления "
                     "или они не существуют : " +
                         Narrow(archive)}));
}
