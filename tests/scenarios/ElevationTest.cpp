#include <windows.h>

#include <algorithm>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

const Places& places = GetPlaces();
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
        // As a running program's library: it can be read and not replaced.
        holder = CreateFileW(blockedFile.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                             OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    }
    void TearDown() override {
        Free();
        Scenario::TearDown();
    }
    void Free() {
        if (holder != nullptr) {
            CloseHandle(holder);
        }
        holder = nullptr;
    }

  private:
    HANDLE holder = nullptr;
};

// Wine renames a folder that holds an open file, which Windows refuses.
std::vector<InterceptionRow> BlockedRename() {
    return {FailCall({"MoveFileExW", versionFolder + L" > "}, ERROR_SHARING_VIOLATION),
            FailCall({"SHFileOperationW", L"move " + versionFolder + L" > "}, ERROR_ACCESS_DENIED),
            // Holds the process between the dialog's answer and its own end.
            HoldCall({"SHFileOperationW", L"delete " + versionFolder + L".BKP"})};
}

SetupCall PlainCall(const std::wstring& arguments) {
    return {.arguments = arguments, .interceptions = BlockedRename(), .isPlainUser = true};
}

Box ReadElevationDialog(const SetupRun& run) {
    const Box box = WaitForBox(run.process);
    EXPECT_EQ(box.caption, ProductText("TextTitle"));
    EXPECT_EQ(std::count(box.texts.begin(), box.texts.end(), ProductText("TextAccessBlocked")), 1);
    std::vector<int> buttons = box.buttons;
    std::sort(buttons.begin(), buttons.end());
    EXPECT_EQ(buttons, (std::vector<int>{elevate, IDCANCEL, IDRETRY}));
    EXPECT_TRUE(box.hasOwner);
    EXPECT_EQ(WindowText(GetDlgItem(box.window, elevate)), ProductText("TextRetry"));
    EXPECT_EQ(SendMessageW(box.window, DM_GETDEFID, 0, 0), MAKELRESULT(IDRETRY, DC_HASDEFID));
    return box;
}

// Who holds the file open, as the report on the processes tells it.
void ExpectHolderInReport() {
    const Lines reports = WaitForReports(1);
    ASSERT_FALSE(reports.empty());
    const std::string& report = reports[0];
    EXPECT_TRUE(report.starts_with(std::string(processReportHead) + " : "));
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::string line =
        "[" + std::to_string(GetCurrentProcessId()) + "] " + Narrow(wcsrchr(own, L'\\') + 1) + " (";
    const std::size_t listing = report.find("Opened files in [" + Narrow(places.app) + "]\n");
    ASSERT_NE(listing, std::string::npos) << report;
    const std::size_t found = report.find(line, listing);
    ASSERT_NE(found, std::string::npos) << report;
    const std::string rest = report.substr(found, report.find('\n', found) - found);
    EXPECT_TRUE(rest.ends_with("quorvane\\1.2.3\\resources\\app\\main.js]")) << rest;
}

const std::string blockedHead =
    "Установка : Установка файлов... : Ошибка переноса каталога программы : " +
    Narrow(places.extractFolder + L" : " + versionFolder);

}  // namespace

TEST_F(Elevation, RetryAfterTheFileIsFreeGoesOn) {
    SetupRun run(PlainCall(L""));
    run.Answer("TextUpToDateContinue", IDOK);
    PressButton(ReadElevationDialog(run), IDRETRY);
    const Box again = ReadElevationDialog(run);
    ExpectHolderInReport();
    Free();
    PressButton(again, IDRETRY);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(2));
    run.interceptions.Release(2);
    EXPECT_EQ(run.WaitForEnd(), 0);
    State expected = StateAfterInstall("1.2.3");
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
    // One report on the processes, whatever the number of dialogs.
    EXPECT_EQ(ReportHeads(), Lines{processReportHead});
}

TEST_F(Elevation, CancelEndsTheRunWithAReport) {
    State expected = TakeState();
    SetupRun run(PlainCall(L""));
    run.Answer("TextUpToDateContinue", IDOK);
    const Box box = ReadElevationDialog(run);
    ExpectHolderInReport();
    WaitUntil([] { return RunningPrograms(setupName).size() == 1; });
    PressButton(box, IDCANCEL);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(2));
    run.interceptions.Release(2);
    run.Answer("TextInstallFailed", IDOK);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_EQ(ReportHeads(), (Lines{processReportHead, blockedHead}));
    AddTree(expected, "temp\\Quorvane.TEMP\\", SampleFolder(L"full"));
    expected[savedReportPlace] = savedReport;
    Free();
    EXPECT_STATE(expected);
}

TEST_F(Elevation, TheElevatedCopyTakesOverAfterTheFirstProcess) {
    SetupRun run(PlainCall(L"--start-app-invisible --app-start-args \"a b\""));
    run.Answer("TextUpToDateContinue", IDOK);
    const Box box = ReadElevationDialog(run);
    ExpectHolderInReport();
    WaitUntil([] { return RunningPrograms(setupName).size() == 1; });
    PressButton(box, elevate);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(2));
    OtherProgram copy(setupName, run.processId);
    EXPECT_EQ(copy.CommandLine(), L"\"" + GetPrepared().setup + L"\" --runas " +
                                      std::to_wstring(run.processId) +
                                      L" \"--start-app-invisible\" \"--app-start-args\" \"a b\"");
    EXPECT_TRUE(WaitUntil([&] { return copy.HasHandleOf(run.processId); }))
        << "the copy does not wait for the first process";
    Free();
    run.interceptions.Release(2);
    EXPECT_EQ(run.WaitForEnd(), 0);
    copy.Answer("TextUpToDateContinue", IDOK);
    EXPECT_EQ(copy.WaitForEnd(), 0);
    State expected = StateAfterInstall("1.2.3");
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
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
    const Box box = ReadElevationDialog(run);
    ExpectHolderInReport();
    WaitUntil([] { return RunningPrograms(setupName).size() == 1; });
    PressButton(box, elevate);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(2));
    OtherProgram copy(setupName, run.processId);
    run.interceptions.Release(2);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_EQ(copy.WaitForEnd(), 0);
    EXPECT_EQ(ReportHeads(),
              (Lines{processReportHead,
                     "Обновление : Процесс обновления приложения... : Не указаны файлы обновления "
                     "или они не существуют : " +
                         Narrow(archive)}));
}
