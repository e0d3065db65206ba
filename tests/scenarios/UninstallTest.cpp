#include <windows.h>

#include <memory>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

class Uninstall : public Scenario {};

const Places& places = GetPlaces();
constexpr wchar_t copyName[] = L"Quorvane.uninstall.exe";
const std::wstring copyPath = places.temp + L"\\" + copyName;
const std::wstring scriptPath = places.temp + L"\\lumentra.selfdel.cmd";

const SetupCall installed = {.program = places.uninstaller};

void Install() {
    PublishVersion("1.2.3");
    ASSERT_EQ(RunSetup(L"--console"), 0);
}

// The script that deletes the copy, and itself last, runs on when the copy has ended.
void WaitForSelfDelete() {
    EXPECT_TRUE(WaitUntil([] { return !Exists(copyPath) && !Exists(scriptPath); }))
        << "the copy or the script stays";
    WaitUntilNoneRuns(L"cmd.exe");
}

// Less what tells nothing of the setup program: what this Wine's command processor leaves of a
// pipe, and the pin tool's own record.
State TakeLeft() {
    State left = TakeState();
    std::erase_if(left, [](const auto& entry) {
        return entry.first.starts_with("temp\\CMD") || entry.first == "temp\\syspin.log";
    });
    return left;
}

// The copy that the installed uninstaller makes, started as it does it.
SetupCall CopyCall(const std::vector<InterceptionRow>& interceptions) {
    const bool isInstalled = Exists(places.uninstaller);
    CopyFileW((isInstalled ? places.uninstaller : GetPrepared().setup).c_str(), copyPath.c_str(),
              FALSE);
    return {.arguments = L"--uninstall", .interceptions = interceptions, .program = copyPath};
}

void RunCopy(SetupRun& copy) {
    copy.Answer("TextConfirmUninstall", IDYES);
    copy.Answer("TextRemoved", IDOK);
    EXPECT_EQ(copy.WaitForEnd(), 0);
    WaitForSelfDelete();
}

}  // namespace

TEST_F(Uninstall, AsksFromACopyAndChangesNothingWhenDeclined) {
    Install();
    State before = TakeState();
    EXPECT_EQ(SetupRun(installed).WaitForEnd(), 0);
    OtherProgram copy(copyName);
    EXPECT_EQ(copy.CommandLine(), L"\"" + copyPath + L"\" --uninstall");
    const Box box = WaitForBox(copy.process);
    EXPECT_FALSE(box.hasOwner);
    EXPECT_EQ(box.buttons, (std::vector<int>{IDYES, IDNO}));
    // A second start finds the copy at work.
    EXPECT_EQ(SetupRun(installed).WaitForEnd(), 0);
    EXPECT_EQ(RunningPrograms(copyName).size(), 1U);
    State during = before;
    during[std::string("temp\\") + Narrow(copyName)] = DescribeFile(places.uninstaller);
    EXPECT_STATE(during);
    copy.Answer("TextConfirmUninstall", IDNO);
    EXPECT_EQ(copy.WaitForEnd(), 0);
    WaitForSelfDelete();
    before.erase("temp\\syspin.log");
    EXPECT_EQ(Differences(before, TakeLeft()), "");
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
}

TEST_F(Uninstall, RemovesEverythingAndItself) {
    Install();
    const std::wstring record = GetPrepared().folder + L"\\scratch\\starter.log";
    DeleteFileW(record.c_str());
    WriteFileText(places.roaming + L"\\profile\\settings.txt", "of the user");
    WriteFileText(places.extractFolder + L"\\left.txt", "by an interrupted run");
    // An earlier script, and a marker that nobody has waited for.
    WriteFileText(scriptPath, "exit");
    WriteFileText(places.app + L"\\uninstall_end", "");
    SetEnvironmentVariableW(L"SAMPLE_RECORD", record.c_str());
    EXPECT_EQ(SetupRun(installed).WaitForEnd(), 0);
    SetEnvironmentVariableW(L"SAMPLE_RECORD", nullptr);
    OtherProgram copy(copyName);
    copy.Answer("TextConfirmUninstall", IDYES);
    const Box done = WaitForBox(copy.process);
    EXPECT_TRUE(done.hasOwner);
    EXPECT_EQ(done.buttons, std::vector<int>{IDOK});
    copy.Answer("TextRemoved", IDOK);
    EXPECT_EQ(copy.WaitForEnd(), 0);
    WaitForSelfDelete();
    const std::string pin = "\"" + Narrow(places.app) + "\\1.2.3\\syspin.exe\" \"" +
                            Narrow(places.shortcut) + "\" c:538";
    EXPECT_EQ(ReadFileText(places.temp + L"\\syspin.log"), pin + "6\n" + pin + "7\n");
    EXPECT_EQ(Differences({}, TakeLeft()), "");
    EXPECT_TRUE(RunningPrograms(appExeName).empty());
    const std::string calls = ReadFileText(record);
    EXPECT_TRUE(
        calls.starts_with("\"" + Narrow(places.starter) + "\"  --uninstall-app --app-start-time="))
        << calls;
    EXPECT_TRUE(ReportHeads().empty());
}

TEST_F(Uninstall, GivesTheApplicationTenSeconds) {
    const struct {
        const char* name;
        bool isInstalled;
    } cases[] = {{"an application that does not answer", true}, {"nothing installed", false}};
    for (const auto& [name, isInstalled] : cases) {
        SCOPED_TRACE(name);
        WipeMachine();
        if (isInstalled) {
            PutInstallation("1.2.3", L"full");
            WriteFileText(places.roaming + L"\\silent", "");
            WriteFileText(places.app + L"\\uninstall_end", "of an earlier run");
        }
        SetupRun copy(CopyCall({SkipCall({"Sleep", L"100"})}));
        RunCopy(copy);
        EXPECT_EQ(copy.interceptions.Calls(0), 100);
        EXPECT_EQ(Differences({}, TakeLeft()), "");
    }
}

TEST_F(Uninstall, EndsAnApplicationThatNeitherAnswersNorCloses) {
    Install();
    WriteFileText(places.roaming + L"\\silent", "");
    WriteFileText(places.roaming + L"\\stubborn", "");
    SetupRun copy(CopyCall({SkipCall({"Sleep", L""}), SkipCall({"WaitForSingleObject", L"5000"})}));
    RunCopy(copy);
    EXPECT_TRUE(RunningPrograms(appExeName).empty());
    EXPECT_EQ(Differences({}, TakeLeft()), "");
}

TEST_F(Uninstall, LeavesAFileInUseAndTellsOfSuccess) {
    PutInstallation("1.2.3", L"full");
    auto held = std::make_unique<HeldOpen>(places.app + L"\\1.2.3\\locales\\locale-103.pak");
    SetupRun copy(CopyCall({}));
    RunCopy(copy);
    held.reset();
    const State whole = InstalledState("1.2.3");
    State expected;
    for (const char* place : {"app\\", "app\\1.2.3\\", "app\\1.2.3\\locales\\",
                              "app\\1.2.3\\locales\\locale-103.pak"}) {
        expected[place] = whole.at(place);
    }
    EXPECT_EQ(Differences(expected, TakeLeft()), "");
    EXPECT_TRUE(ReportHeads().empty());
}
