#include <filesystem>
#include <regex>
#include <sstream>

#include "scenarios/Expectation.h"

namespace {

constexpr wchar_t copyName[] = L"Quorvane.uninstall.exe";

// All files and keys.
State TakeMachine() {
    State state;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(L"C:\\")) {
        const bool isFolder = entry.is_directory();
        state[Narrow(entry.path())] =
            isFolder ? folderMark
                     : std::to_string(entry.file_size()) + " bytes of " +
                           std::to_string(entry.last_write_time().time_since_epoch().count());
    }
    AddKeys(state, "HKCU\\", HKEY_CURRENT_USER, L"");
    AddKeys(state, "HKLM\\", HKEY_LOCAL_MACHINE, L"");
    return state;
}

State machine;

// The user reads Japanese; a folder is only copied to another volume.
const std::vector<InterceptionRow> surroundings = {
    SkipCall({"GetUserDefaultUILanguage", L""}, 0x411),
    FailCall({"SHFileOperationW", L"move {temp}\\Q", 1, 1}, ERROR_SHARING_VIOLATION)};

// An install and an update in the window, an update that fails and tells the server of it, and what
// users and killed runs leave.
void Live(Stage& stage) {
    // On Windows every user has it.
    const std::wstring key = PathOf("entry");
    SetText(HKEY_CURRENT_USER, key.substr(0, key.rfind(L'\\')), L"", L"");
    // A folder that a path with a blank can be taken for.
    WriteFileText(L"C:\\users\\\u0401\u0436\\letter.txt", "of another user");
    machine = TakeMachine();
    EXPECT_GT(machine.size(), 3000U);
    ResetServer({.offered = "1.0.0"});
    const std::pair<const char*, const char*> runs[] = {
        {"{setup}", ""},
        {"{app}\\1.0.0\\uninstall.exe", "--update \"{roaming}\\\u0444 1.zip\""},
        {"{app}\\1.2.3\\uninstall.exe", "--update \"{roaming}\\\u0444 1\""}};
    for (const auto& [program, arguments] : runs) {
        SetupRun run({.run = arguments, .program = program, .interceptions = surroundings});
        EXPECT_EQ(run.WaitForEnd(), 0);
        ChangeMachine({"roaming\\\u0444 1.zip=<www\\app.zip>",
                       "roaming\\\u0444 1\\readme.txt=no application"});
    }
    EXPECT_EQ(Failures(), Lines{"update | reading the new version | 2 bad manifest"});
    ChangeMachine({"-temp\\syspin.log", "-temp\\.quorvane-error-report.txt"});
    State left = TakeState();
    EXPECT_EQ(Drop(left, "temp\\"), stage.row.program == "{copy}" ? 1U : 0U);
    ChangeMachine({"temp\\Quorvane.TEMP\\left.txt=by an interrupted run",
                   "temp\\lumentra.selfdel.cmd=exit", "app\\uninstall_end="});
    ResetServer(stage.row);
}

void ExpectTheMachineOfBefore(Stage&) {
    // What this Wine writes by itself when a program goes to the network or pipes its output; and
    // the pin tool's own record.
    const std::regex ofTheSystem(
        R"(\\INetCache\\Content.IE5|\\INetCookies\\index.dat|\\Temp\\CMD|\\syspin.log|)"
        R"(\\Internet Settings\\ProxyEnable|Software\\Wine\\Temporary System Parameters)");
    std::istringstream lines(Differences(machine, TakeMachine()));
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(std::regex_search(line, ofTheSystem)) << line;
    }
}

// A second start finds the copy at work.
void StartAgain(Stage&) {
    EXPECT_EQ(RunSetup("", "{uninstaller}"), 0);
    EXPECT_EQ(ListPrograms(copyName).size(), 1U);
}

// The application gets ten seconds.
ScenarioRow Impatient(const char* name, const char* installed, Lines files) {
    return {
        .name = name,
        .installed = installed,
        .appRuns = *installed != '\0',
        .files = std::move(files),
        .program = "{copy}",
        .interceptions = {SkipCall({"Sleep", L"100"}), SkipCall({"WaitForSingleObject", L"5000"})},
        .steps = {confirmUninstall, removed},
        .after = nothing,
        .counts = {100}};
}

// The first wait without a limit is that for this process, which goes on.
const CallChoice firstWait = {"WaitForSingleObject", L"4294967295", 1, 1};

void SeeItWait(Stage& stage) {
    const ScenarioProcess waiting(copyName);
    EXPECT_TRUE(waiting.HasHandleOf(GetCurrentProcessId()));
    EXPECT_EQ(FindWindowOf(stage.run->processId, windowClassName), nullptr);
}

constexpr char inUse[] = "app\\1.2.3\\locales\\locale-103.pak";

const Lines used = {"-temp\\Quorvane.TEMP\\", "-temp\\lumentra.selfdel.cmd",
                    "temp\\syspin.log=record"};
const Lines unpinned = {"\"{starter}\"  --uninstall-app --app-start-time=#",
                        "\"{app}\\1.2.3\\syspin.exe\" \"{shortcut}\" c:5387"};

ScenarioRow EndOfALife(const char* name, const char* program) {
    return {.name = name,
            .profile = userWithBlank,
            .prepare = Live,
            .program = program,
            .steps = {confirmUninstall, removed},
            .after = nothing,
            .left = used,
            .record = unpinned,
            .check = ExpectTheMachineOfBefore};
}

// The temporary folder is on another volume, where folders are not moved but copied.
ScenarioRow EndOfAHardLife() {
    ScenarioRow row = EndOfALife("EndsALifeInAJapaneseProfileThatIsHardToName", "{copy}");
    row.temp = "{volume}\\R&D \u0444\\Temp";
    row.language = "ja";
    row.interceptions = surroundings;
    return row;
}

const int rows = AddScenarios(
    "Uninstall",
    {EndOfALife("RemovesEverythingAndItself", "{uninstaller}"),
     EndOfAHardLife(),
     // The copy lies where its path is two commands to the command processor.
     {.name = "AsksFromACopyAndChangesNothingWhenDeclined",
      .temp = "{volume}\\R&D",
      .installed = "1.2.3",
      .appRuns = true,
      .program = "{uninstaller}",
      .steps = {Answer("TextConfirmUninstall", IDNO, StartAgain)}},
     {.name = "TellsOfFailure",
      .installed = "1.2.3",
      .program = "{copy}",
      .interceptions = {FailCall({"SHGetFolderPathW", L"", 2, 1}, 3)},
      .steps = {confirmUninstall, notRemoved},
      .errors = {"uninstall | application's own uninstall | 3 no paths"}},
     Impatient("OfNothing", "", {}),
     Impatient("EndsTheApplicationAfterTenSeconds", "1.2.3",
               {"roaming\\silent=", "roaming\\stubborn=", "app\\uninstall_end=of an earlier run"}),
     {.name = "WaitsAfterYesForTheProcessItIsTold",
      .installed = "1.2.3",
      .run = "--uninstall " + std::to_string(GetCurrentProcessId()),
      .program = "{copy}",
      .interceptions = {SkipCall(firstWait), HoldCall(firstWait)},
      .steps = {confirmUninstall, AtHeldCall(1, SeeItWait), removed},
      .after = nothing},
     {.name = "LeavesAFileInUseAndTellsOfSuccess",
      .installed = "1.2.3",
      .held = {inUse},
      .program = "{copy}",
      .steps = {confirmUninstall, removed},
      .after = nothing,
      .left = {"app\\", "app\\1.2.3\\", "app\\1.2.3\\locales\\",
               std::string(inUse) + "=<samples\\former\\locales\\locale-103.pak>"}}});

}  // namespace
