#pragma once

/// Whole runs of the setup program as rows of a table: what lies on the machine before, what is
/// run, which boxes come, what lies there afterwards. The driver plays a row as a test of its own
/// and checks, beside what the row says, what holds for every run:
///
/// - the machine's files, registry and shortcut are as expected, and nothing else is there;
/// - the server saw these requests and no others;
/// - every box has the product's title, its own buttons and owner, and comes in the row's order;
/// - a failure is reported once, and before the box that tells of it; each report is whole;
/// - a box on a blocked file goes with one report on who holds files open;
/// - the application's processes run from the right folder, or are the ones that ran before;
/// - the programs of the archive were called in this order, with these command lines;
/// - the run ends with its exit code, and nothing that it started stays.
///
/// Texts of a row stand for full paths with {app}, {temp} and so on, see ExpandNames.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scenarios/MachineState.h"
#include "scenarios/Prepared.h"
#include "scenarios/Server.h"
#include "scenarios/SetupRun.h"
#include "support/Interception.h"
#include "support/Scratch.h"

struct Stage;

/// One thing on the run's way, in the order in which they are waited for.
struct Step {
    const char* box = nullptr;  // the text, by its name in the product's table; see knownBoxes
    int button = 0;             // that is pressed
    int held = -1;  // instead of a box: a call of this interception, which is a HoldCall
    std::function<void(Stage&)> act{};  // while the box is shown, while the call is held
};

inline Step Answer(const char* box, int button, std::function<void(Stage&)> act = {}) {
    return {box, button, -1, std::move(act)};
}
inline Step AtHeldCall(int interception, std::function<void(Stage&)> act = {}) {
    return {nullptr, 0, interception, std::move(act)};
}

inline const Step goOn{"TextUpToDateContinue", IDOK}, decline{"TextUpToDateContinue", IDCANCEL},
    tryAgain{"TextAccessBlocked", IDRETRY}, giveUp{"TextAccessBlocked", IDCANCEL},
    installFailed{"TextInstallFailed", IDOK}, noFullInstaller{"TextOfferFullInstaller", IDCANCEL},
    confirmUninstall{"TextConfirmUninstall", IDYES}, removed{"TextRemoved", IDOK},
    notRemoved{"TextUninstallFailed", IDOK};

/// As ScenarioRow::after.
constexpr char nothing[] = "nothing";

struct ScenarioRow {
    std::string name{};  // within its group; the filter is GROUP.NAME

    // Before the run.
    std::wstring profile{};         // of the user, see MoveProfile
    std::string temp{};             // the folder for temporary files, elsewhere
    std::string installed{};        // version of an installation that is there
    bool appRuns = false;           // the installed application runs
    Lines files{};                  // changes to the machine, see ChangeMachine
    std::string offered = "1.2.3";  // version in the manifest; no manifest when empty
    std::string archive = "app.zip";
    std::optional<std::string> manifest{};  // its whole text, instead of the two
    std::vector<ServerFault> faults{};
    std::function<void(Stage&)> prepare{};  // anything else
    Lines held{};                           // places that nobody can read during the run
    Lines inUse{};                          // places that can be read, not replaced

    // The run.
    std::string run{};                // arguments; those of {copy} are --uninstall when empty
    std::string program = "{setup}";  // {copy} is put there first
    bool isPlainUser = false;         // without administrator rights
    Lines environment{};              // NAME=VALUE
    std::string language = "en";      // that the boxes are in
    std::size_t product = 0;          // whose names, places and texts count
    std::vector<InterceptionRow> interceptions{};
    std::vector<Step> steps{};

    // After it.
    int exitCode = 0;
    std::string after{};  // version that is installed then, or `nothing`; unchanged when empty
    Lines left{};         // changes to the state that this makes, see ChangeState
    Lines errors{};       // heads of the reports on failures, see docs/testing.md
    DWORD code = 0;       // of the system, in the last of them; not looked at when 0
    Lines logged{};       // parts of the last report's log, in this order
    int loads = -1;       // 0: nothing, 1: the manifest, 2: the archive too; -1: as the run says
    std::optional<Lines> requests{};      // instead: all but those for reports
    std::optional<std::string> starts{};  // the starter's last arguments; # stands for a time
    std::optional<Lines> record{};        // instead: all calls of the archive's programs
    int processes = 5;                    // of the application, when it was started
    std::vector<LONG> counts{};           // calls that met each interception
    std::function<void(Stage&)> check{};  // anything else

    const char* file = __builtin_FILE();
    int line = __builtin_LINE();
};

/// A row that is being played.
struct Stage {
    const ScenarioRow& row;
    const Places& places;
    State before{};                        // when the run begins
    std::vector<RunningProgram> beside{};  // that run then
    time_t startTime = 0;
    std::vector<HeldOpen> holders{};  // of what `held` and `inUse` name
    std::unique_ptr<SetupRun> run{};  // once it is started
    Box box{};                        // that the step is about
};

/// Registers each row as the test GROUP.NAME.
int AddScenarios(const char* group, const std::vector<ScenarioRow>& rows);
