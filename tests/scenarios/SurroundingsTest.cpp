#include <windows.h>

#include <gtest/gtest.h>

#include "scenarios/ScenarioRow.h"

// What users, servers and other programs bring with them.
namespace {

// The run before was killed when the former folder had its other name.
void KillInTheSwap(Stage& stage) {
    SetupRun run({.run = "--console",
                  .interceptions = {HoldCall({"MoveFileExW", L"{temp}\\Quorvane.TEMP > "})}});
    EXPECT_TRUE(PressButton(WaitForBox(run.process), IDOK));
    EXPECT_TRUE(run.interceptions.WaitUntilHeld(0));
    TerminateProcess(run.process, 1);
    run.WaitForEnd();
    EXPECT_TRUE(Exists(PathOf("app\\1.2.3.BKP\\")) && !Exists(PathOf("app\\1.2.3\\")));
    ResetServer(stage.row);
}

// The folders that Explorer shows, one a line; those that it was told to close.
constexpr char shownFolders[] = "work\\scratch\\windows.txt=";
const Lines shown = {"STANDIN_SHELL_WINDOWS={work}\\scratch\\windows.txt"};

auto ExpectClosed(const std::string& folders) {
    return [folders](Stage& stage) {
        EXPECT_EQ(ReadFileText(PathOf("work\\scratch\\windows.txt.quit")),
                  ExpandNames(folders, stage.places));
    };
}

constexpr const char* libraries[] = {"schannel.dll",     "kerberos.dll", "urlmon.dll",
                                     "wininet.dll",      "dwmapi.dll",   "version.dll",
                                     "windowscodecs.dll"};

Lines Planted() {
    // What is called cmd.exe writes down its call.
    Lines files = {"work\\downloads\\", "work\\downloads\\setup.exe=<setup.exe>",
                   "work\\downloads\\cmd.exe=<samples\\full\\syspin.exe>"};
    for (const char* library : libraries) {
        files.push_back(std::string("work\\downloads\\") + library +
                        "=<prefix\\drive_c\\windows\\syswow64\\shellwindows.dll>");
    }
    return files;
}

// One that is loaded could not be deleted.
void ExpectNoneLoaded(Stage&) {
    for (const char* library : libraries) {
        EXPECT_TRUE(DeleteFileW(PathOf(std::string("work\\downloads\\") + library).c_str()))
            << library;
    }
}

const int rows = AddScenarios(
    "Surroundings",
    {{.name = "ARunThatWasKilledInTheSwapIsMadeGood",
      .installed = "1.2.3",
      .prepare = KillInTheSwap,
      .steps = {goOn},
      .after = "1.2.3",
      .left = {"-app\\1.2.3.BKP\\"}},
     {.name = "ExplorerWindowsOnTheVersionAreClosed",
      .temp = longTemp,
      .installed = "1.2.3",
      .files = {"app\\1.2.3.BKP\\", "-work\\scratch\\windows.txt.quit",
                shownFolders + ("{app}\n{app}\\1.2.3\n{app}\\1.2.3\\LOCALES\n{app}\\1.2.3.BKP\n" +
                                longTemp + "\\Quorvane.TEMP\n" + longTemp + "\nC:\\windows\n")},
      .environment = shown,
      .steps = {goOn},
      .after = "1.2.3",
      .left = {"-app\\1.2.3.BKP\\"},
      .check = ExpectClosed(longTemp + "\\Quorvane.TEMP\n{app}\\1.2.3.BKP\n{app}\\1.2.3\\LOCALES\n"
                                       "{app}\\1.2.3\n")},
     {.name = "ExplorerWindowsOnWhatIsRemovedAreClosed",
      .installed = "1.2.3",
      .files = {"-work\\scratch\\windows.txt.quit",
                std::string(shownFolders) + "{app}\\1.2.3\n{app}\n{temp}\n"},
      .run = "--uninstall",
      .program = "{copy}",
      .environment = shown,
      .steps = {confirmUninstall, removed},
      .after = nothing,
      .check = ExpectClosed("{app}\n{app}\\1.2.3\n")},
     {.name = "NothingBesideTheSetupProgramIsTaken",
      .files = Planted(),
      .faults = {{"/download", "refuse"}},
      .program = "{work}\\downloads\\setup.exe",
      .interceptions = {HoldCall({"Sleep", L"1000", 1, 1}), SkipCall({"Sleep", L"1000", 2})},
      .steps = {AtHeldCall(0, ExpectNoneLoaded), Answer("TextOfferFullInstaller", IDOK)},
      .errors = {"install | fetching the manifest | 1 download failed"},
      .requests = Requests({{"/download/win/manifest.json refuse", 5}}),
      .record = Lines{}},
     // A folder is not moved there. This Wine's Shell says so; then it says what makes it copy.
     {.name = "ATemporaryFolderOnAnotherVolume",
      .temp = "{volume}\\R&D \u0444\\Temp",
      .interceptions = {FailCall({"SHFileOperationW", L"move {temp}\\Quorvane.TEMP > ", 7, 1},
                                 ERROR_SHARING_VIOLATION),
                        SkipCall({"Sleep", L"100", 1, 13})},
      .steps = {tryAgain},
      .after = "1.2.3",
      .counts = {7}},
     {.name = "ADownloadWithANumberInItsName",
      .files = {"work\\downloads\\", "work\\downloads\\Setup (1).exe=<setup.exe>"},
      .program = "{work}\\downloads\\Setup (1).exe",
      .after = "1.2.3"},
     {.name = "AServerThatSendsToAnother",
      .archive = "moved.zip",
      .faults = {{"/moved.zip", "redirect", 1, "{server}app.zip"}},
      .after = "1.2.3",
      .requests = Lines{"https", "GET /download/win/manifest.json 200", "https",
                        "GET /moved.zip redirect", "GET /app.zip 200"}},
     {.name = "AServerThatTellsNoLength",
      .faults = {{"/", "no-length"}},
      .after = "1.2.3",
      .requests = Lines{"https", "GET /download/win/manifest.json no-length", "https",
                        "GET /app.zip no-length"}},
     {.name = "AnApplicationOfFourProcessesIsWaitedForFiveSeconds",
      .run = "--console",
      .environment = {"SAMPLE_BEHAVIOUR=few"},
      .interceptions = {CountCall({"Sleep", L"100"}), CountCall({"Sleep", L"400"})},
      .after = "1.2.3",
      .processes = 4,
      .counts = {50, 1}},
     {.name = "AUserWithABlankInTheNameInstalls", .profile = userWithBlank, .after = "1.2.3"},
     {.name = "AUserWithABlankInTheNameUpdates",
      .profile = userWithBlank,
      .installed = "1.0.0",
      .appRuns = true,
      .files = {"temp\\\u0444.zip=<www\\app.zip>"},
      .run = "--update \"{temp}\\\u0444.zip\"",
      .program = "{app}\\1.0.0\\uninstall.exe",
      .after = "1.2.3",
      .left = {"-temp\\\u0444.zip"}}});

}  // namespace
