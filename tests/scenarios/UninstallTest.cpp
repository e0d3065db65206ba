#include <windows.h>

#include <algorithm>
#include <memory>
#include <sstream>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

using Uninstall = Scenario;

namespace {

constexpr wchar_t copyName[] = L"Quorvane.uninstall.exe";
const std::wstring scriptPath = places.temp + L"\\lumentra.selfdel.cmd";

void Install() {
    PublishVersion("1.2.3");
    ASSERT_EQ(RunSetup(L"--console"), 0);
}

void RunInstalled() {
    EXPECT_EQ(SetupRun(SetupCall{.program = places.uninstaller}).WaitForEnd(), 0);
}

// Until the script has deleted the copy, and itself last. Then all is as expected, less what tells
// nothing of the setup program: what this Wine's command processor leaves of a pipe, and the pin
// tool's own record.
void ExpectLeft(State expected) {
    EXPECT_TRUE(WaitUntil([] { return !Exists(places.uninstallCopy) && !Exists(scriptPath); }))
        << "the copy or the script stays";
    WaitUntilNoneRuns(L"cmd.exe");
    State left = TakeState();
    Drop(left, "temp\\CMD");
    Drop(left, "temp\\syspin.log");
    Drop(expected, "temp\\syspin.log");
    EXPECT_EQ(Differences(expected, left), "");
}

void AddFiles(State& state, const std::wstring& folder) {
    for (const WIN32_FIND_DATAW& entry : ListFolder(folder)) {
        const std::wstring path = folder + L"\\" + entry.cFileName;
        const FILETIME time = entry.ftLastWriteTime;
        state[Narrow(path)] = IsFolder(entry) ? folderMark
                                              : std::to_string(entry.nFileSizeLow) + " bytes of " +
                                                    std::to_string(time.dwHighDateTime) + "." +
                                                    std::to_string(time.dwLowDateTime);
        if (IsFolder(entry) && (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
            AddFiles(state, path);
        }
    }
}

// All files and keys.
State TakeMachine() {
    State state;
    AddFiles(state, L"C:");
    AddKeys(state, "HKCU\\", HKEY_CURRENT_USER, L"");
    AddKeys(state, "HKLM\\", HKEY_LOCAL_MACHINE, L"");
    return state;
}

// What this Wine writes by itself when a program goes to the network or pipes its output.
bool IsOfTheSystem(const std::string& line) {
    // The last one is the pin tool's own record.
    const char* const marks[] = {"\\INetCache\\Content.IE5",
                                 "\\INetCookies\\index.dat",
                                 "\\Temp\\CMD",
                                 "\\Internet Settings\\ProxyEnable",
                                 "HKCU\\Software\\Wine\\Temporary System Parameters",
                                 "\\syspin.log"};
    return std::ranges::any_of(
        marks, [&](const char* mark) { return line.find(mark) != std::string::npos; });
}

}  // namespace

TEST_F(Uninstall, AsksFromACopyAndChangesNothingWhenDeclined) {
    Install();
    const State before = TakeState();
    RunInstalled();
    OtherProgram copy(copyName);
    EXPECT_EQ(copy.CommandLine(), L"\"" + places.uninstallCopy + L"\" --uninstall");
    const Box box = WaitForBox(copy.process);
    EXPECT_FALSE(box.hasOwner);
    EXPECT_EQ(box.buttons, (Buttons{IDYES, IDNO}));
    // A second start finds the copy at work.
    RunInstalled();
    EXPECT_EQ(RunningPrograms(copyName).size(), 1U);
    State during = before;
    during[std::string("temp\\") + Narrow(copyName)] = DescribeFile(places.uninstaller);
    EXPECT_STATE(during);
    copy.Finish({{"TextConfirmUninstall", IDNO}});
    ExpectLeft(before);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
}

TEST_F(Uninstall, RemovesEverythingAndItself) {
    // On Windows every user has it.
    const std::wstring& key = places.uninstallKey;
    RegSetKeyValueW(HKEY_CURRENT_USER, key.substr(0, key.rfind(L'\\')).c_str(), L"", REG_SZ, L"",
                    0);
    const State before = TakeMachine();
    EXPECT_GT(before.size(), 3000U);
    Install();
    const std::wstring record = GetPrepared().folder + L"\\scratch\\starter.log";
    DeleteFileW(record.c_str());
    WriteFileText(places.roaming + L"\\profile\\settings.txt", "of the user");
    WriteFileText(places.extractFolder + L"\\left.txt", "by an interrupted run");
    // An earlier script, and a marker that nobody has waited for.
    WriteFileText(scriptPath, "exit");
    WriteFileText(places.app + L"\\uninstall_end", "");
    SetEnvironmentVariableW(L"SAMPLE_RECORD", record.c_str());
    RunInstalled();
    SetEnvironmentVariableW(L"SAMPLE_RECORD", nullptr);
    OtherProgram copy(copyName);
    copy.Answer("TextConfirmUninstall", IDYES);
    const Box done = WaitForBox(copy.process);
    EXPECT_TRUE(done.hasOwner);
    EXPECT_EQ(done.buttons, Buttons{IDOK});
    copy.Finish({{"TextRemoved", IDOK}});
    const std::string pin = "\"" + Narrow(places.app) + "\\1.2.3\\syspin.exe\" \"" +
                            Narrow(places.shortcut) + "\" c:538";
    EXPECT_EQ(ReadFileText(places.temp + L"\\syspin.log"), pin + "6\n" + pin + "7\n");
    ExpectLeft({});
    EXPECT_TRUE(RunningPrograms(appExeName).empty());
    const std::string calls = ReadFileText(record);
    EXPECT_TRUE(
        calls.starts_with("\"" + Narrow(places.starter) + "\"  --uninstall-app --app-start-time="))
        << calls;
    EXPECT_TRUE(ReportHeads().empty());
    std::istringstream lines(Differences(before, TakeMachine()));
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(line.starts_with("        not ") || IsOfTheSystem(line)) << line;
    }
}

TEST_F(Uninstall, GivesTheApplicationTenSecondsAndEndsIt) {
    for (const std::string state : {"nothing installed", "not answering", "nor closing"}) {
        SCOPED_TRACE(state);
        SetUp();
        if (state != "nothing installed") {
            Install();
            WriteFileText(places.roaming + L"\\silent", "");
            WriteFileText(places.app + L"\\uninstall_end", "of an earlier run");
        }
        if (state == "nor closing") {
            WriteFileText(places.roaming + L"\\stubborn", "");
        }
        SetupRun copy(UninstallCopy(
            {SkipCall({"Sleep", L"100"}), SkipCall({"WaitForSingleObject", L"5000"})}));
        copy.Finish({{"TextConfirmUninstall", IDYES}, {"TextRemoved", IDOK}});
        ExpectLeft({});
        EXPECT_TRUE(RunningPrograms(appExeName).empty());
        EXPECT_EQ(copy.interceptions.Calls(0), 100);
    }
}

TEST_F(Uninstall, LeavesAFileInUseAndTellsOfSuccess) {
    PutInstallation("1.2.3", L"full");
    auto held = std::make_unique<HeldOpen>(places.app + L"\\1.2.3\\locales\\locale-103.pak");
    EXPECT_EQ(
        RunInWindow(UninstallCopy(), {{"TextConfirmUninstall", IDYES}, {"TextRemoved", IDOK}}), "");
    held.reset();
    State expected = InstalledState("1.2.3");
    std::erase_if(expected, [](const auto& entry) {
        return !std::string("app\\1.2.3\\locales\\locale-103.pak").starts_with(entry.first);
    });
    ExpectLeft(expected);
}
