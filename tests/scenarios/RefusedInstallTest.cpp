#include "scenarios/ScenarioRow.h"

// Failures before anything is put in place: the former installation is untouched.
namespace {

constexpr char noPaths[] = "install | fetching the manifest | 3 no paths";

std::vector<ScenarioRow> Rows() {
    std::vector<ScenarioRow> rows = {
        {.name = "WhenTheTemporaryFolderIsTooDeep",
         .environment = {"TMP=C:\\" + std::string(240, 'd')},
         // The report cannot be saved there either.
         .left = {"-temp\\.quorvane-error-report.txt"},
         .errors = {noPaths},
         .loads = 0},
        {.name = "WhenTheVersionFileCannotBeRead",
         .held = {"app\\version"},
         .errors = {"install | comparing versions | 15 version file not read | {app}\\version"},
         .code = ERROR_SHARING_VIOLATION,
         .loads = 1},
        {.name = "WhenTheUnpackFolderCannotBeCleared",
         .files = {"temp\\Quorvane.TEMP\\left.txt=by another run"},
         .held = {"temp\\Quorvane.TEMP\\left.txt"},
         .left = {"temp\\quorvane.zip=<www\\app.zip>"},
         .errors = {"install | unpacking | 7 unpacking failed | {temp}\\quorvane.zip | "
                    "{temp}\\Quorvane.TEMP"}},
        {.name = "WhenItsOwnFileCannotBeCopied",
         .archive = "no-uninstaller.zip",
         .interceptions = {FailCall({"CopyFileW", L"uninstall.exe"}, ERROR_SHARING_VIOLATION),
                           FailCall({"SHFileOperationW", L"uninstall.exe"}, ERROR_ACCESS_DENIED),
                           SkipCall({"Sleep", L"100"})},
         .left = {"temp\\Quorvane.TEMP\\=<samples\\full>", "-temp\\Quorvane.TEMP\\uninstall.exe"},
         .errors = {"install | unpacking | 8 file not copied | {setup} | "
                    "{temp}\\Quorvane.TEMP\\uninstall.exe"}},
        {.name = "WhenTheInstallFolderCannotBeMade",
         .files = {"-app\\"},
         .interceptions = {FailCall({"CreateDirectoryW", L"{app}"}, ERROR_ACCESS_DENIED)},
         .left = {"temp\\Quorvane.TEMP\\=<samples\\full>"},
         .errors = {"install | placing files | 16 install folder not made | {app}\\1.2.3"}}};
    // The first question comes at the start, the others when the operation makes its paths.
    for (const LONG question : {2, 3, 4}) {
        rows.push_back({.name = "WhenAFolderOfTheUserIsUnknown" + std::to_string(question),
                        .interceptions = {FailCall({"SHGetFolderPathW", L"", question, 1}, 3)},
                        .errors = {noPaths},
                        .logged = {"DO: Установка : Загрузка файла манифеста..."},
                        .loads = 0});
    }
    for (ScenarioRow& row : rows) {
        row.installed = "1.0.0";
        row.steps = {installFailed};
    }
    return rows;
}

const int rows = AddScenarios("RefusedInstall", Rows());

const InterceptionRow betweenPasses = SkipCall({"Sleep", L"1000"});

// Where its application has no address, or the whole makes no sense.
ScenarioRow BadManifest(const char* name, const char* text, bool isWithoutAddress = true) {
    const std::string status = text == nullptr ? "404" : "200";
    return {.name = name,
            .installed = "1.0.0",
            .offered = "",
            .manifest = text == nullptr ? std::nullopt : std::optional<std::string>(text),
            .steps = {installFailed},
            .errors = {isWithoutAddress
                           ? "install | fetching the archive | 4 no archive for this machine"
                           : "install | fetching the manifest | 2 bad manifest"},
            .requests = Requests({{"/download/win/manifest.json " + status, 1}})};
}

const int downloadRows = AddScenarios(
    "DownloadFaults",
    {{.name = "TheSecondAddressIsTriedFirstAndTheMainOneAfterIt",
      .manifest = R"({"version": "1.2.3", "windows": [{"arch": "x64",
          "url": "{server}app.zip", "altUrl": "https://127.0.0.1:{port}/alt.zip"}]})",
      .faults = {{"/alt.zip", "refuse"}, {"/app.zip", "refuse", 4}},
      .run = "--console",
      .interceptions = {betweenPasses},
      .after = "1.2.3",
      .requests = Requests(
          {{gotManifest, 1}, {"/alt.zip refuse", 5}, {"/app.zip refuse", 4}, {"/app.zip 200", 1}}),
      .counts = {8}},
     {.name = "TheMainAddressIsNotAskedWhenTheSecondOneAnswers",
      .manifest = R"({"version": "1.2.3", "windows": [{"arch": "x64",
          "url": "{server}no-starter.zip", "altUrl": "{server}app.zip"}]})",
      .run = "--console",
      .after = "1.2.3"},
     {.name = "AnArchiveThatNeverComes",
      .faults = {{"/app.zip", "refuse"}},
      .interceptions = {betweenPasses},
      .steps = {noFullInstaller},
      .errors = {"install | fetching the archive | 1 download failed"},
      .requests = Requests({{gotManifest, 1}, {"/app.zip refuse", 5}})},
     // Of an error page, which is stored as the file.
     BadManifest("ErrorPage", nullptr, false),
     BadManifest("EmptyManifest", "", false),
     BadManifest("VersionThatIsANumber", R"({"version": 123})", false),
     BadManifest("EntryThatIsAText", R"({"version": "1.2.3", "windows": ["app.zip"]})", false),
     BadManifest("NoEntries", R"({"version": "1.2.3"})"),
     BadManifest("EntriesThatAreAText", R"({"version": "1.2.3", "windows": "app.zip"})")});

}  // namespace
