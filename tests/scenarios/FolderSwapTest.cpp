#include <windows.h>

#include <algorithm>
#include <memory>

#include "scenarios/Scenario.h"

// The step that puts the new version's folder in place, when a folder or a file is in use.
using FolderSwap = Scenario;

namespace {

constexpr BoxAnswer goOn = {"TextUpToDateContinue", IDOK};
constexpr BoxAnswer retry = {"TextAccessBlocked", IDRETRY};
constexpr BoxAnswer cancel = {"TextAccessBlocked", IDCANCEL};
constexpr BoxAnswer failed = {"TextInstallFailed", IDOK};
constexpr char installStage[] = "Установка : Установка файлов...";
constexpr char updateStage[] = "Обновление : Установка приложения...";

const std::wstring versionFolder = places.app + L"\\1.2.3";
const std::wstring backupFolder = versionFolder + L".BKP";
const std::wstring updateFolder = places.temp + L"\\new-files";

// The report on the processes comes from a second process, in its own time.
void ExpectProcessReport() {
    EXPECT_TRUE(WaitUntil([] {
        const Lines heads = ReportHeads();
        return std::ranges::count(heads, processReportHead) == 1;
    })) << "no report on what holds the files";
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(L"setup.exe").empty(); }));
}

}  // namespace

TEST_F(FolderSwap, RetryAfterABlockedMoveGoesOn) {
    PublishVersion("1.2.3");
    SetupRun run(L"--console", BlockedMove(places.extractFolder, 1));
    const Box box = WaitForBox(run.process);
    EXPECT_FALSE(box.hasOwner);
    EXPECT_EQ(box.buttons, (Buttons{IDRETRY, IDCANCEL}));
    EXPECT_EQ(run.interceptions.Calls(0), 5);
    EXPECT_EQ(run.interceptions.Calls(1), 6);
    EXPECT_EQ(run.interceptions.Calls(2), 9);
    run.Finish({retry});
    ExpectProcessReport();
    EXPECT_STATE(WithReport(StateAfterInstall("1.2.3")));
}

TEST_F(FolderSwap, CancelAfterABlockedMoveBringsTheFormerFolderBack) {
    const struct {
        const char* installed;
        std::wstring moved;
        std::string stage;
        std::vector<BoxAnswer> boxes;
    } cases[] = {
        {"1.0.0", places.extractFolder, installStage, {retry, cancel, failed}},
        {"1.2.3", places.extractFolder, installStage, {goOn, retry, cancel, failed}},
        // Its window is out of sight, its question is not.
        {"1.2.3", updateFolder, updateStage, {retry, cancel}},
    };
    for (const auto& [installed, moved, stage, boxes] : cases) {
        SCOPED_TRACE(stage + installed);
        SetUp();
        PublishVersion("1.2.3");
        PutInstallation(installed);
        State expected = WithReport(TakeState());
        SetupCall call = {.interceptions = BlockedMove(moved)};
        if (moved == places.extractFolder) {
            AddUnpacked(expected);
        } else {
            call.arguments = L"--update " + moved;
            CopyTree(SampleFolder(L"full"), moved);
            AddTree(expected, "temp\\new-files\\", moved);
        }
        EXPECT_EQ(RunInWindow(call, boxes), MoveFailure(stage, moved, versionFolder));
        ExpectProcessReport();
        EXPECT_STATE(expected);
    }
}

TEST_F(FolderSwap, AFileThatCannotBeReadEndsTheBackupAndTheRun) {
    PublishVersion("1.2.3");
    PutInstallation("1.2.3");
    State expected = WithReport(TakeState());
    AddUnpacked(expected);
    WriteFileText(backupFolder + L"\\old.txt", "of an interrupted run");
    auto held = std::make_unique<HeldOpen>(versionFolder + L"\\syspin.exe");
    EXPECT_EQ(RunInWindow({.interceptions = BlockedMove(versionFolder)}, {goOn, cancel, failed}),
              MoveFailure(installStage, versionFolder, backupFolder));
    ExpectProcessReport();
    held.reset();
    EXPECT_STATE(expected);
}
