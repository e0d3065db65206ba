// Two products of two teams on one machine: what one does shows nowhere in the other, whose files,
// entries and processes the driver compares.
#include "scenarios/ScenarioRow.h"

namespace {

const Places& second = GetPlaces(1);

void RunFirst(Stage&) {
    PutInstallation("1.2.3");
    StartApplication();
}

// In its own window, while the first one's setup program runs too.
void InstallSecond(Stage& stage) {
    SetEnvironmentVariableW(L"SAMPLE_RECORD", nullptr);
    SetupRun run({.product = 1, .interceptions = {HoldCall({"CreateProcessW", L"syspin.exe"})}});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    const HWND window = WaitForWindow(run.process, Widen(second.name) + L"InstallerWindow");
    EXPECT_EQ(WindowText(window), ProductText("TextTitle", "en", 1));
    run.interceptions.Release(0);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_TRUE(AllRun(stage.beside));
    ChangeState(stage.before, {"roaming\\", "roaming\\starter.log=record"}, second);
    ChangeState(stage.before, Installation("1.0.0", "second-1.0.0"), second);
    for (const RunningProgram& program : ListPrograms(Widen(second.name) + L".exe")) {
        stage.beside.push_back(program);
    }
}

const int rows =
    AddScenarios("SecondProduct",
                 {{.name = "InstallsWhileTheFirstOneIsUpdated",
                   .installed = "1.2.3",
                   .appRuns = true,
                   .offered = "1.3.0",
                   .run = "--console",
                   .interceptions = {HoldCall({"CreateProcessW", L"--kill-app"})},
                   .steps = {AtHeldCall(0, InstallSecond)},
                   .after = "1.3.0",
                   .requests = Requests({{gotManifest, 1},
                                         {"/app.zip 200", 1},
                                         {"/second/download/win/manifest.json 200", 1},
                                         {"/second/download/win/product-1-1.0.0-x64.zip 200", 1}})},
                  {.name = "TellsOfItsFailure",
                   .faults = {{"/second/download", "404"}},
                   .prepare = RunFirst,
                   .product = 1,
                   .steps = {installFailed},
                   .errors = {"install | fetching the manifest | 2 bad manifest"},
                   .requests = Lines{"https", "GET /second/download/win/manifest.json 404"}},
                  {.name = "UpdatesWithoutTouchingTheFirst",
                   .installed = "1.0.0",
                   .appRuns = true,
                   .files = {"temp\\second-update.zip=<second-update.zip>"},
                   .prepare = RunFirst,
                   .run = "--update {temp}\\second-update.zip",
                   .program = "{app}\\1.0.0\\uninstall.exe",
                   .product = 1,
                   .after = "1.1.0"},
                  {.name = "GoesWithoutTouchingTheFirst",
                   .installed = "1.0.0",
                   .appRuns = true,
                   .prepare = RunFirst,
                   .program = "{uninstaller}",
                   .product = 1,
                   .steps = {confirmUninstall, removed},
                   .after = nothing}});

}  // namespace
