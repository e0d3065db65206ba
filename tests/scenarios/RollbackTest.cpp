#include "scenarios/ScenarioRow.h"

// Failures after the new version's folder is in place: the former folder and version come back.
namespace {

constexpr char noVersion[] = "placing files | 17 version file not written | {app}\\version";
constexpr char noEntry[] = "registering | 10 registry entry not written";

const struct Fault {
    const char *name, *error;  // behind the operation
    int placed;
    const char* held;  // a place in use; or a call that fails:
    CallChoice call;
    DWORD code;
} faults[] = {
    {"StarterInUse", "QuorvaneStarter.exe", 0, "app\\QuorvaneStarter.exe", {}, 0},
    {"UninstallerInUse", "uninstall.exe", 1, "app\\uninstall.exe", {}, 0},
    {"VersionFileReadOnly", noVersion, 2, "app\\version", {}, 0},
    {"DiskFullAtTheVersionFile", noVersion, 2, nullptr, {"WriteFile", L"", 1, 1}, ERROR_DISK_FULL},
    {"NoUninstallKey", noEntry, 2, nullptr, {"RegCreateKeyExW", L"{"}, ERROR_ACCESS_DENIED},
    {"NoPublisher", noEntry, 7, nullptr, {"RegSetValueExW", L"Publisher"}, ERROR_DISK_FULL}};

ScenarioRow MakeRow(const Fault& fault, const std::string& installed, bool isUpdate) {
    ScenarioRow row = {.name = fault.name + std::string(isUpdate ? "InUpdateOver" : "Over") +
                               installed};
    const std::string name = fault.error;
    row.errors = {(isUpdate ? "update | " : "install | ") +
                  (name.ends_with(".exe") ? "placing files | 8 file not copied | {app}\\1.2.3\\" +
                                                name + " | {app}\\" + name
                                          : name)};
    row.interceptions = {SkipCall({"Sleep", L"100"})};
    row.installed = installed;
    if (!installed.empty()) {
        row.files = {"app\\QuorvaneStarter.exe=of another version",
                     "app\\uninstall.exe=of another version"};
    }
    if (fault.held == nullptr) {
        row.interceptions.push_back(FailCall(fault.call, fault.code));
    } else if (name == noVersion) {
        row.prepare = [](Stage&) {
            SetFileAttributesW(PathOf("app\\version").c_str(), FILE_ATTRIBUTE_READONLY);
        };
    } else {
        row.held = {fault.held};
    }
    // What the run has put in place behind the folder stays.
    const Lines all = Installation("1.2.3");
    row.left.assign(all.begin() + 3, all.begin() + 3 + fault.placed);
    if (isUpdate) {
        row.files.push_back("temp\\new-files\\=<samples\\full>");
        row.run = "--update {temp}\\new-files";
        row.left.push_back("-temp\\new-files\\");
    } else {
        row.steps = {installFailed};
    }
    if (installed != "1.2.3") {
        // The new folder stays unless it took the place of another one.
        row.left.insert(row.left.end(), {"app\\", "app\\1.2.3\\=<samples\\full>"});
    } else if (!isUpdate) {
        row.steps.insert(row.steps.begin(), goOn);
    }
    return row;
}

std::vector<ScenarioRow> Rows() {
    const std::pair<const char*, bool> runs[] = {
        {"", false}, {"1.0.0", false}, {"1.2.3", false}, {"1.0.0", true}, {"1.2.3", true}};
    std::vector<ScenarioRow> rows;
    for (const Fault& fault : faults) {
        for (const auto& [installed, isUpdate] : runs) {
            if (*installed != '\0' || fault.held == nullptr) {
                rows.push_back(MakeRow(fault, installed, isUpdate));
            }
        }
    }
    return rows;
}

const int rows = AddScenarios("Rollback", Rows());

// The step that puts the new folder in place, when a folder or a file is in use.
constexpr char notPlaced[] = " | placing files | 9 version folder not placed | ";
constexpr wchar_t unpacked[] = L"{temp}\\Quorvane.TEMP";

const int swapRows = AddScenarios(
    "FolderSwap",
    {{.name = "RetryAfterABlockedMoveGoesOn",
      .run = "--console",
      .interceptions = BlockedMove(unpacked, 1),
      .steps = {tryAgain},
      .after = "1.2.3",
      .counts = {6, 6}},
     {.name = "CancelAfterABlockedMoveLeavesTheFormerVersion",
      .installed = "1.0.0",
      .interceptions = BlockedMove(unpacked),
      .steps = {tryAgain, giveUp, installFailed},
      .left = {"temp\\Quorvane.TEMP\\=<samples\\full>"},
      .errors = {std::string("install") + notPlaced + "{temp}\\Quorvane.TEMP | {app}\\1.2.3"}},
     // Its window is out of sight, its question is not.
     {.name = "CancelOfAnUpdateBringsTheFormerFolderBack",
      .installed = "1.2.3",
      .files = {"temp\\new-files\\=<samples\\full>"},
      .run = "--update {temp}\\new-files",
      .interceptions = BlockedMove(L"{temp}\\new-files"),
      .steps = {tryAgain, giveUp},
      .errors = {std::string("update") + notPlaced + "{temp}\\new-files | {app}\\1.2.3"}},
     {.name = "AFileThatCannotBeReadEndsTheBackupAndTheRun",
      .installed = "1.2.3",
      .files = {"app\\1.2.3.BKP\\old.txt=of an interrupted run"},
      .held = {"app\\1.2.3\\syspin.exe"},
      .interceptions = BlockedMove(L"{app}\\1.2.3"),
      .steps = {goOn, giveUp, installFailed},
      .left = {"-app\\1.2.3.BKP\\", "temp\\Quorvane.TEMP\\=<samples\\full>"},
      .errors = {std::string("install") + notPlaced + "{app}\\1.2.3 | {app}\\1.2.3.BKP"}}});

}  // namespace
