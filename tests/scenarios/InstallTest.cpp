#include "scenarios/ScenarioRow.h"

namespace {

const int firstRows = AddScenarios(
    "FirstInstall",
    {{.name = "PutsEverythingInPlaceAndStartsTheApplication",
      .files = {R"(temp\quorvane-manifest.json={"version": "9.9.9"})",
                "temp\\quorvane.zip=half an archive of an interrupted run",
                "temp\\Quorvane.TEMP\\locales\\old.pak=of another version"},
      // The archive for this machine is not the first one, the version not in its plain form.
      .manifest = R"({"windows": [{"arch": "ia32", "url": "{server}no-starter.zip"},
          {"arch": "x64", "url": "{server}app.zip"}], "version": "01.02.3.4 beta"})",
      .run = "--console",
      .after = "1.2.3"},
     // By its own path, although the current folder changes at the start.
     {.name = "BecomesTheUninstallerWhenTheArchiveHasNone",
      .archive = "no-uninstaller.zip",
      .run = "--console",
      .program = "..\\setup.exe",
      .after = "1.2.3",
      .left = {"app\\uninstall.exe=<setup.exe>", "app\\1.2.3\\uninstall.exe=<setup.exe>"}},
     // The unpacking tells nobody that it failed; nobody starts the application, which is awaited.
     {.name = "EndsWellWithAnArchiveThatCannotBeUnpacked",
      .archive = "damaged.zip",
      .run = "--console",
      .interceptions = {SkipCall({"Sleep", L"100"})},
      .after = "1.2.3",
      .left = {"-app\\QuorvaneStarter.exe", "-app\\1.2.3\\", "-roaming\\", "-temp\\",
               "app\\1.2.3\\", "app\\uninstall.exe=<setup.exe>",
               "app\\1.2.3\\uninstall.exe=<setup.exe>"},
      .counts = {50}},
     {.name = "HandsTheCallersOptionsToTheApplication",
      .run = "--console --app-start-args \"--profile x --quiet\" --start-app-invisible",
      .after = "1.2.3",
      .starts = "--install-app=\"setup\"  --startup-app --profile x --quiet --app-start-time=#"},
     {.name = "KeepsTheCallersStartTime",
      .run = "--APP-START-ARGS --app-start-time=5 --unknown --Console",
      .after = "1.2.3",
      .starts = "--install-app=\"setup\"  --app-start-time=5"}});

const int offlineRows = AddScenarios(
    "Offline", {{.name = "InstallsWithoutARequest", .program = "{offline}", .after = "1.2.3"},
                {.name = "AsksAboutTheSameVersionAndLeavesWhatItUnpacked",
                 .installed = "1.2.3",
                 .run = "--console",
                 .program = "{offline}",
                 .steps = {decline},
                 .left = {"temp\\Quorvane.TEMP\\=<samples\\full>"}},
                {.name = "FailsWhenAFolderStandsWhereTheArchiveIsToGo",
                 .installed = "1.0.0",
                 .files = {"temp\\quorvane.zip\\"},
                 .program = "{offline}",
                 .steps = {installFailed},
                 .errors = {"install | fetching the manifest | 14 built-in archive not written"}}});

std::vector<ScenarioRow> Reinstalls() {
    const struct {
        const char *name, *run, *installed, *offered;
        std::vector<Step> steps;
    } cases[] = {
        {"OfTheSameVersionReplacesItsFolderAfterOk", "--console", "1.2.3", "1.2.3", {goOn}},
        {"ThatIsDeclinedInTheWindow", "--install", "1.2.3", "1.2.3", {decline}},
        {"OfAnOlderVersionIsAskedAboutByNumbers", "--console", "1.10.0", "1.2.3", {decline}},
        {"OfALaterVersionByNumbers", "--console", "1.9.9", "1.10.0", {}}};
    std::vector<ScenarioRow> rows = {{.name = "TakesAVersionFileThatMakesNoSenseForAnOldOne",
                                      .installed = "1.2.3",
                                      .files = {"app\\version=no version at all"},
                                      .run = "--console",
                                      .after = "1.2.3"}};
    for (const auto& [name, run, installed, offered, steps] : cases) {
        const bool declines = !steps.empty() && steps[0].button == IDCANCEL;
        rows.push_back({.name = name,
                        .installed = installed,
                        .files = {std::string("app\\") + installed + "\\added.txt=by the user"},
                        .offered = offered,
                        .run = run,
                        .steps = steps,
                        .after = declines ? "" : offered,
                        .loads = declines ? 1 : -1});
    }
    return rows;
}

const int againRows = AddScenarios("Reinstall", Reinstalls());

}  // namespace
