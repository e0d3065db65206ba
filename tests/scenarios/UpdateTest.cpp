#include "scenarios/ScenarioRow.h"

namespace {

constexpr char fromArchive[] = "--update {temp}\\new-files.zip";
constexpr char fromFolder[] = "--update {temp}\\new-files";
constexpr char archive[] = "temp\\new-files.zip=<www\\app.zip>";
constexpr char noManifest[] = "update | reading the new version | 2 bad manifest";

// It is out of sight, and nobody can close it.
void LookForTheWindow(Stage& stage) {
    const HWND window = WaitForStatus(stage.run->process, "TextUpdating");
    RECT place{};
    GetWindowRect(window, &place);
    EXPECT_TRUE(place.left == -1000 && place.top == -1000);
    ExpectCloseIgnored(window);
}

// All is in place while the former version runs.
void SeeFormerVersionRun(Stage& stage) {
    EXPECT_TRUE(AllRun(stage.beside));
    EXPECT_EQ(ReadFileText(PathOf("app\\version")), "1.2.3");
    EXPECT_TRUE(Exists(PathOf("shortcut")) && !Exists(PathOf("temp\\Quorvane.TEMP")));
}

const int rows = AddScenarios(
    "Update",
    {{.name = "OfNothingOnTheConsole",
      .files = {archive, "app\\"},
      .run = std::string(fromArchive) + " --console",
      .after = "1.2.3"},
     // The former folder of an earlier time goes first.
     {.name = "ToTheSameVersionKeepsTheFormerFolder",
      .installed = "1.2.3",
      .files = {"temp\\new-files\\=<samples\\full>", "app\\1.2.3.BKP\\old.txt=of an earlier time"},
      .run = fromFolder,
      .after = "1.2.3",
      .left = {"-app\\1.2.3.BKP\\", "app\\1.2.3.BKP\\=<samples\\former>"}},
     // As the application does it: with the uninstaller in its own folder, while it runs.
     {.name = "ClosesTheRunningApplicationLast",
      .installed = "1.0.0",
      .appRuns = true,
      .files = {archive},
      .run = fromArchive,
      .program = "{app}\\1.0.0\\uninstall.exe",
      .interceptions = {HoldCall({"CreateFileW", L"package.json"}),
                        HoldCall({"CreateProcessW", L"--kill-app"})},
      .steps = {AtHeldCall(0, LookForTheWindow), AtHeldCall(1, SeeFormerVersionRun)},
      .after = "1.2.3"},
     {.name = "OfNoFilesOnTheConsoleTellsNobody",
      .installed = "1.0.0",
      .run = "--console --update",
      .loads = 0},
     {.name = "FromFilesThatAreNoApplicationChangesNothing",
      .installed = "1.0.0",
      .files = {"temp\\new-files\\readme.txt=no application"},
      .run = fromFolder,
      .left = {"temp\\new-files\\uninstall.exe=<setup.exe>"},
      .errors = {noManifest}},
     // It counts as an empty one, and is used up.
     {.name = "FromADamagedArchiveChangesNothing",
      .installed = "1.0.0",
      .files = {"temp\\new-files.zip=<www\\damaged.zip>"},
      .run = fromArchive,
      .left = {"-temp\\new-files.zip", "temp\\Quorvane.TEMP\\",
               "temp\\Quorvane.TEMP\\uninstall.exe=<setup.exe>"},
      .errors = {noManifest}}});

std::vector<ScenarioRow> WithoutFiles() {
    std::vector<ScenarioRow> rows;
    for (const std::string path : {"", "C:\\missing.zip", "--console"}) {
        rows.push_back({.name = "Without" + path,
                        .installed = "1.0.0",
                        .run = "--update " + path,
                        .errors = {"update | beginning | 12 update files missing" +
                                   (path.empty() ? "" : " | " + path)}});
    }
    return rows;
}

const int rowsWithoutFiles = AddScenarios("Update", WithoutFiles());

}  // namespace
