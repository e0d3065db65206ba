#include "scenarios/ScenarioRow.h"

// What makes a report, and what its log tells; the driver looks at the rest of each.
namespace {

std::vector<ScenarioRow> Rows() {
    std::vector<ScenarioRow> rows = {
        {.name = "OpenFilesOfBothFolders",
         .temp = longTemp,
         .files = {"temp\\update\\new.bin=new"},
         .held = {"app\\1.2.3\\syspin.exe", "work\\scratch\\a long name\\Temp\\update\\new.bin"},
         .run = "--generate-report \"--update\" \"{temp}\\update\"",
         .logged = {"Quorvane]\n", "\\1.2.3\\syspin.exe]\n", "\\update]\n",
                    "\\update\\new.bin]\n"}},
        {.name = "NoIdentity",
         .interceptions = {FailCall({"SetCurrentProcessExplicitAppUserModelID", L""}, 0)},
         .exitCode = -1,
         .errors = {"application id not set"},
         .logged = {"SetAumIdForProcess"},
         .loads = 0},
        {.name = "NoCopyOfTheUninstaller",
         .program = "{uninstaller}",
         .interceptions = {FailCall({"CopyFileW", L"Quorvane.uninstall.exe"}, ERROR_DISK_FULL),
                           FailCall({"SHFileOperationW", L"Quorvane.uninstall.exe"},
                                    ERROR_DISK_FULL),
                           SkipCall({"Sleep", L"100"})},
         .exitCode = -1,
         .errors = {"uninstaller's copy not started"},
         .code = ERROR_DISK_FULL,
         .logged = {"CopyAndRestartItself"}},
        {.name = "NoWindow",
         .interceptions = {FailCall({"CreateWindowExW", L""}, ERROR_NOT_ENOUGH_MEMORY)},
         .exitCode = -1,
         .errors = {"window not made"},
         .code = ERROR_NOT_ENOUGH_MEMORY,
         .logged = {"CreateMainWindow: error of CreateWindow: "},
         .loads = 0}};
    const std::tuple<const char*, const char*, std::vector<Step>> operations[] = {
        {"--install", "{setup}", {installFailed}},
        {"--uninstall", "{copy}", {confirmUninstall, notRemoved}},
        {"--update", "{setup}", {}}};
    for (const auto& [run, program, steps] : operations) {
        rows.push_back({.name = std::string("NoThread") + run,
                        .run = run,
                        .program = program,
                        .interceptions = {FailCall({"CreateThread", L""}, ERROR_NOT_ENOUGH_MEMORY)},
                        .steps = steps,
                        .exitCode = -1,
                        .errors = {"worker thread not started", "window not made"},
                        .loads = 0});
    }
    for (ScenarioRow& row : rows) {
        row.installed = "1.2.3";
    }
    return rows;
}

const int rows = AddScenarios("Report", Rows());

}  // namespace
