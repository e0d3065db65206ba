#include <windows.h>

#include <algorithm>
#include <memory>

#include "scenarios/Scenario.h"

namespace {

// The step that puts the new version's folder in place, when a folder or a file is in use.
class FolderSwap : public Scenario {
  protected:
    void SetUp() override {
        Scenario::SetUp();
        PublishVersion("1.2.3");
    }
};

const Places& places = GetPlaces();
constexpr BoxAnswer goOn = {"TextUpToDateContinue", IDOK};
constexpr BoxAnswer retry = {"TextAccessBlocked", IDRETRY};
constexpr BoxAnswer cancel = {"TextAccessBlocked", IDCANCEL};
constexpr BoxAnswer failed = {"TextInstallFailed", IDOK};

// Wine renames a folder that holds open files, and its shell says that it moved one that is held:
// what Windows refuses is made to fail. The order of the rows: the plain call, the shell's, pauses.
// A pass is five plain calls and six of the shell, with four and five pauses between them.
std::vector<InterceptionRow> MoveFails(const std::wstring& from, LONG passes = everyCall) {
    const auto times = [passes](LONG count) {
        return passes == everyCall ? everyCall : passes * count;
    };
    return {
        FailCall({"MoveFileExW", from + L" > ", 1, times(5)}, ERROR_SHARING_VIOLATION),
        FailCall({"SHFileOperationW", L"move " + from + L" > ", 1, times(6)}, ERROR_ACCESS_DENIED),
        // Not the later ones, in which the run waits for the application.
        SkipCall({"Sleep", L"100", 1, times(9)})};
}

std::string MoveFailure(const std::wstring& from, const std::wstring& to) {
    return "Установка : Установка файлов... : Ошибка переноса каталога программы : " +
           Narrow(from + L" : " + to);
}

const std::wstring versionFolder = places.app + L"\\1.2.3";
const std::wstring backupFolder = versionFolder + L".BKP";

void AddUnpacked(State& state) {
    AddTree(state, "temp\\Quorvane.TEMP\\", SampleFolder(L"full"));
}

// The report on the processes comes from a second process, in its own time.
void ExpectProcessReport() {
    EXPECT_TRUE(WaitUntil([] {
        const Lines heads = ReportHeads();
        return std::count(heads.begin(), heads.end(), processReportHead) == 1;
    })) << "no report on what holds the files";
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(L"setup.exe").empty(); }));
}

}  // namespace

TEST_F(FolderSwap, RetryAfterABlockedMoveGoesOn) {
    SetupRun run(L"--console", MoveFails(places.extractFolder, 1));
    const Box box = WaitForBox(run.process);
    EXPECT_FALSE(box.hasOwner);
    EXPECT_EQ(box.buttons, (std::vector<int>{IDRETRY, IDCANCEL}));
    EXPECT_EQ(run.interceptions.Calls(0), 5);
    EXPECT_EQ(run.interceptions.Calls(1), 6);
    EXPECT_EQ(run.interceptions.Calls(2), 9);
    run.Answer(retry.text, retry.button);
    EXPECT_EQ(run.WaitForEnd(), 0);
    ExpectProcessReport();
    State expected = StateAfterInstall("1.2.3");
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}

TEST_F(FolderSwap, CancelAfterABlockedMoveBringsTheFormerFolderBack) {
    for (const char* installed : {"1.0.0", "1.2.3"}) {
        SCOPED_TRACE(installed);
        WipeMachine();
        ResetServer();
        PublishVersion("1.2.3");
        PutInstallation(installed);
        State expected = TakeState();
        std::vector<BoxAnswer> answers = {retry, cancel, failed};
        if (std::string(installed) == "1.2.3") {
            answers.insert(answers.begin(), goOn);
        }
        EXPECT_EQ(RunInWindow({.interceptions = MoveFails(places.extractFolder)}, answers),
                  MoveFailure(places.extractFolder, versionFolder));
        ExpectProcessReport();
        AddUnpacked(expected);
        expected[savedReportPlace] = savedReport;
        EXPECT_STATE(expected);
    }
}

TEST_F(FolderSwap, AMoveThatIsASharingViolationGoesOnAsACopy) {
    std::vector<InterceptionRow> rows = MoveFails(places.extractFolder);
    rows[1] = FailCall({"SHFileOperationW", L"move " + places.extractFolder}, 32);
    rows.pop_back();
    SetupRun run(L"--console", rows);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(run.interceptions.Calls(1), 1);
    EXPECT_TRUE(ReportHeads().empty());
}

TEST_F(FolderSwap, AFolderThatCannotBeRenamedIsRefreshedFileByFile) {
    PutInstallation("1.2.3");
    WriteFileText(versionFolder + L"\\added\\by.txt", "the user");
    SetupRun run(L"--console", {MoveFails(versionFolder)[0], MoveFails(versionFolder)[1]});
    run.Answer(goOn.text, goOn.button);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
}

TEST_F(FolderSwap, AFileThatCannotBeReadEndsTheBackupAndTheRun) {
    PutInstallation("1.2.3");
    WriteFileText(backupFolder + L"\\old.txt", "of an interrupted run");
    State expected = TakeState();
    auto held = std::make_unique<HeldOpen>(versionFolder + L"\\syspin.exe");
    EXPECT_EQ(RunInWindow({.interceptions = MoveFails(versionFolder)}, {goOn, cancel, failed}),
              MoveFailure(versionFolder, backupFolder));
    ExpectProcessReport();
    held.reset();
    Drop(expected, "app\\1.2.3.BKP\\");
    AddUnpacked(expected);
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}

namespace {

// Open for reading, as a running program's library: it can be copied and not replaced.
HANDLE HoldAgainstWriting(const std::wstring& path) {
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                       nullptr);
}

}  // namespace

TEST_F(FolderSwap, AFileThatCannotBeReplacedBringsTheFormerFilesBack) {
    PutInstallation("1.2.3");
    WriteFileText(versionFolder + L"\\added.txt", "by the user");
    State expected = TakeState();
    const HANDLE held = HoldAgainstWriting(versionFolder + L"\\resources\\app\\main.js");
    EXPECT_EQ(RunInWindow({.interceptions = MoveFails(versionFolder)}, {goOn, cancel, failed}),
              MoveFailure(places.extractFolder, versionFolder));
    ExpectProcessReport();
    CloseHandle(held);
    AddUnpacked(expected);
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}

TEST_F(FolderSwap, RetryGoesOnWhenTheFileIsFreeAgain) {
    PutInstallation("1.2.3");
    const HANDLE held = HoldAgainstWriting(versionFolder + L"\\resources\\app\\main.js");
    SetupRun run(L"--console", {MoveFails(versionFolder)[0], MoveFails(versionFolder)[1]});
    run.Answer(goOn.text, goOn.button);
    run.Answer(retry.text, retry.button);
    const Box again = WaitForBox(run.process);
    EXPECT_TRUE(again);
    CloseHandle(held);
    run.Answer(retry.text, retry.button);
    EXPECT_EQ(run.WaitForEnd(), 0);
    ExpectProcessReport();
    State expected = StateAfterInstall("1.2.3");
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}
