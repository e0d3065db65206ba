#include <windows.h>
#include <psapi.h>

#include <sstream>

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

// What the setup program starts, and libraries that programs often take from their own folder.
constexpr char baits[] =
    "cmd.exe explorer.exe findstr.exe start.exe syspin.exe tasklist.exe timeout.exe "
    "apphelp bcrypt cabinet clbcatq comctl32 credui cryptbase cryptsp cryptui d2d1 d3d10 d3d11 "
    "d3d9 davhlpr dbghelp devobj dhcpcsvc dnsapi dpapi drprov dsound dwmapi dwrite dxgi feclient "
    "gdiplus iertutil iphlpapi linkinfo mpr msftedit msi mswsock netapi32 netutils ntmarta "
    "ntshrui oleacc powrprof profapi propsys rasapi32 riched20 rsaenh samcli samlib schannel "
    "setupapi shfolder srvcli sspicli textshaping urlmon userenv uxtheme version wevtapi "
    "windowscodecs winhttp wininet winmm winsta wkscli wldp wlanapi wtsapi32 xmllite";

std::vector<std::wstring> Loaded(HANDLE process) {
    HMODULE modules[400];
    DWORD size = 0;
    EnumProcessModules(process, modules, sizeof modules, &size);
    std::vector<std::wstring> paths(size / sizeof *modules, std::wstring(MAX_PATH, L'\0'));
    for (std::size_t i = 0; i < paths.size(); ++i) {
        paths[i].resize(GetModuleFileNameExW(process, modules[i], paths[i].data(), MAX_PATH));
    }
    return paths;
}

// Beside the setup program, under these names and those of all that a run has loaded, lies what
// writes down that it was taken; but for what this Wine takes whatever it is asked for.
void Plant(Stage& stage) {
    ResetServer({});
    SetupRun run({.interceptions = {HoldCall({"CreateProcessW", L"--install-app"})}});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    std::string names = baits;
    for (const std::wstring& path : Loaded(run.process)) {
        names += Narrow(L" " + path.substr(path.rfind(L'\\') + 1));
    }
    TerminateProcess(run.process, 0);
    run.WaitForEnd();
    ResetServer(stage.row);
    ChangeMachine({"-work\\downloads\\", "work\\downloads\\"});
    std::istringstream words(names);
    for (std::string name; words >> name;) {
        name += name.find('.') == name.npos ? ".dll" : "";
        const char* bait = name.ends_with(".exe") ? "samples\\full\\syspin.exe" : "planted.dll";
        ChangeMachine({"work\\downloads\\" + name + "=<" + bait + ">"});
    }
    ChangeMachine({"-work\\downloads\\msimg32.dll", "-work\\downloads\\secur32.dll",
                   "-work\\downloads\\shcore.dll", "work\\downloads\\Setup (1).exe=<setup.exe>"});
    // The browser writes down how it was called, too.
    SetText(HKEY_LOCAL_MACHINE, L"Software\\Classes\\http\\shell\\open\\command", L"",
            L"\"" + PathOf("work\\samples\\full\\syspin.exe") + L"\" \"%1\"");
}

// What comes ahead of the agent was bound before the program's first instruction.
void ExpectNoneTaken(Stage& stage) {
    bool isAsked = false;
    for (const std::wstring& path : Loaded(stage.run->process)) {
        isAsked = isAsked || path.ends_with(L"\\interception_agent.dll");
        EXPECT_FALSE(isAsked && IsBelow(path, PathOf("work\\downloads"))) << Narrow(path);
    }
    EXPECT_TRUE(isAsked);
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
      .program = "{copy}",
      .environment = shown,
      .steps = {confirmUninstall, removed},
      .after = nothing,
      .check = ExpectClosed("{app}\n{app}\\1.2.3\n")},
     {.name = "NothingBesideTheSetupProgramIsTaken",
      .faults = {{"/download", "refuse"}},
      .prepare = Plant,
      .program = "{work}\\downloads\\Setup (1).exe",
      .interceptions = {HoldCall({"CreateProcessW", L"/c start"}), SkipCall({"Sleep", L"1000"})},
      .steps = {Answer("TextOfferFullInstaller", IDOK), AtHeldCall(0, ExpectNoneTaken)},
      .errors = {"install | fetching the manifest | 1 download failed"},
      .requests = Requests({{"/download/win/manifest.json refuse", 5}}),
      .record = Lines{"\"{work}\\samples\\full\\syspin.exe\" "
                      "\"{server}api/v1/service/offlineinstaller?app=quorvane&arch=x64\""}},
     // The file is called as a browser calls a second download of it.
     {.name = "NothingBesideADownloadIsTakenInAnInstall",
      .prepare = Plant,
      .program = "{work}\\downloads\\Setup (1).exe",
      .interceptions = {HoldCall({"CreateProcessW", L"--install-app"})},
      .steps = {goOn, AtHeldCall(0, ExpectNoneTaken)},
      .after = "1.2.3"},
     // A folder is not moved there. This Wine's Shell says so; then it says what makes it copy.
     {.name = "ATemporaryFolderOnAnotherVolume",
      .temp = "{volume}\\R&D \u0444\\Temp",
      .interceptions = {FailCall({"SHFileOperationW", L"move {temp}\\Quorvane.TEMP > ", 7, 1},
                                 ERROR_SHARING_VIOLATION),
                        SkipCall({"Sleep", L"100", 1, 13})},
      .steps = {tryAgain},
      .after = "1.2.3",
      .counts = {7}},
     {.name = "AServerThatSendsToAnotherAndTellsNoLength",
      .archive = "moved.zip",
      .faults = {{"/moved.zip", "redirect", 1, "{server}app.zip"}, {"/", "no-length"}},
      .after = "1.2.3",
      .requests = Lines{"https", "GET /download/win/manifest.json no-length", "https",
                        "GET /moved.zip redirect", "GET /app.zip no-length"}},
     {.name = "AnApplicationOfFourProcessesIsWaitedForFiveSeconds",
      .run = "--console",
      .environment = {"SAMPLE_BEHAVIOUR=few"},
      .interceptions = {CountCall({"Sleep", L"100"}), CountCall({"Sleep", L"400"})},
      .after = "1.2.3",
      .processes = 4,
      .counts = {50, 1}}});

}  // namespace
