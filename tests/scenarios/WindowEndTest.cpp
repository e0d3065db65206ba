#include "scenarios/ScenarioRow.h"

// What the user sees when the operation has ended in its window.
namespace {

const InterceptionRow noPauses = SkipCall({"Sleep", L"1000"});

const int rows = AddScenarios(
    "WindowEnd", {{.name = "OfAnUninstallTellsOfFailure",
                   .installed = "1.2.3",
                   .run = "--uninstall",
                   .program = "{copy}",
                   .interceptions = {FailCall({"SHGetFolderPathW", L"", 2, 1}, 3)},
                   .steps = {confirmUninstall, notRemoved},
                   .errors = {"uninstall | application's own uninstall | 3 no paths"}}});

// In this order: what is once trusted stays so.
const std::string secureManifest =
    R"({"version": "1.2.3", "windows": [{"arch": "x64", "url": "{secureServer}app.zip"}]})";

const int secureRows = AddScenarios(
    "SecureServer",
    {{.name = "IsNotAskedWithoutTrust",
      .installed = "1.0.0",
      .manifest = secureManifest,
      .program = "{secure}",
      .interceptions = {noPauses},
      .steps = {noFullInstaller},
      .left = {"temp\\.quorvane-error-report.txt=error report"},
      .requests = Lines{"no request"}},
     {.name = "GivesOnceItIsTrusted",
      .manifest = secureManifest,
      .prepare = [](Stage&) { TrustServer(); },
      .program = "{secure}",
      .after = "1.2.3",
      .requests = Lines{"secure GET /download/win/manifest.json 200", "secure GET /app.zip 200"}},
     {.name = "TakesReportsOnceItIsTrusted",
      .manifest = "no manifest",
      .prepare = [](Stage&) { TrustServer(); },
      .program = "{secure}",
      .steps = {installFailed},
      .errors = {"install | fetching the manifest | 2 bad manifest"},
      .requests = Lines{"secure GET /download/win/manifest.json 200"}}});

}  // namespace
