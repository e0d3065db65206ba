#include "scenarios/ScenarioRow.h"

namespace {

// In this order: what is once trusted stays so.
const std::string secureManifest =
    R"({"version": "1.2.3", "windows": [{"arch": "x64", "url": "{secureServer}app.zip"}]})";

const int rows = AddScenarios(
    "SecureServer",
    {{.name = "IsNotAskedWithoutTrust",
      .installed = "1.0.0",
      .manifest = secureManifest,
      .program = "{secure}",
      .interceptions = {SkipCall({"Sleep", L"1000"})},
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
