#include <windows.h>

#include "scenarios/Scenario.h"

namespace {

class Reinstall : public Scenario {};

constexpr char question[] = "TextUpToDateContinue";

// Of a version beside the one of the run: nothing touches its folder.
void KeepFolder(State& expected, const State& former, const std::string& version) {
    for (const auto& [place, content] : former) {
        if (place.starts_with("app\\" + version + "\\")) {
            expected[place] = content;
        }
    }
}

}  // namespace

TEST_F(Reinstall, OfTheSameVersionReplacesItsFolderAfterOk) {
    PutInstallation("1.2.3");
    PublishVersion("1.2.3");
    WriteFileText(GetPlaces().app + L"\\1.2.3\\added.txt", "by the user");
    SetupRun run(L"--console");
    run.Answer(question, IDOK);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
}

TEST_F(Reinstall, ThatTheUserDeclinesChangesNothingAndTellsNobody) {
    const struct {
        const char* installed;
        const wchar_t* arguments;
    } cases[] = {{"1.2.3", L"--console"}, {"1.10.0", L"--console"}, {"1.2.3", L"--install"}};
    for (const auto& [installed, arguments] : cases) {
        SCOPED_TRACE(Narrow(arguments) + installed);
        WipeMachine();
        ResetServer();
        PutInstallation(installed);
        PublishVersion("1.2.3");
        const State before = TakeState();
        SetupRun run(arguments);
        const Box box = WaitForBox(run.process);
        EXPECT_FALSE(box.hasOwner);
        EXPECT_EQ(box.buttons, (std::vector<int>{IDOK, IDCANCEL}));
        run.Answer(question, IDCANCEL);
        EXPECT_EQ(run.WaitForEnd(), 0);
        EXPECT_STATE(before);
        EXPECT_EQ(SeenRequests(), (Lines{"https", "GET /download/win/manifest.json 200"}));
        EXPECT_TRUE(RunningPrograms(appExeName).empty());
    }
}

TEST_F(Reinstall, OfAnotherVersionLeavesTheFolderOfTheFormerOne) {
    const struct {
        const char* installed;
        const char* offered;
        bool asks;
    } cases[] = {{"1.2.3", "1.2.4", false}, {"1.9.9", "1.10.0", false}, {"2.0.0", "1.2.3", true}};
    for (const auto& [installed, offered, asks] : cases) {
        SCOPED_TRACE(std::string(installed) + " " + offered);
        WipeMachine();
        PutInstallation(installed);
        PublishVersion(offered);
        State expected = StateAfterInstall(offered);
        KeepFolder(expected, TakeState(), installed);
        SetupRun run(L"--console");
        if (asks) {
            run.Answer(question, IDOK);
        }
        EXPECT_EQ(run.WaitForEnd(), 0);
        EXPECT_STATE(expected);
    }
}

TEST_F(Reinstall, TakesAVersionFileThatMakesNoSenseForAnOldOne) {
    PutInstallation("1.2.3");
    WriteFileText(GetPlaces().versionFile, "no version at all");
    PublishVersion("1.2.3");
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
}

TEST_F(Reinstall, ClosesTheRunningApplicationAndStartsTheNewOne) {
    PublishVersion("1.2.3");
    ASSERT_EQ(RunSetup(L"--console"), 0);
    ASSERT_EQ(RunningPrograms(appExeName).size(), 5U);
    PublishVersion("1.3.0");
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.3.0"));
    const Lines calls = StarterCalls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[1], "\"" + Narrow(GetPlaces().starter) + "\" --kill-app");
    EXPECT_NE(calls[2].find("--install-app"), std::string::npos);
}

TEST_F(Reinstall, EndsAnApplicationThatDoesNotClose) {
    PublishVersion("1.2.3");
    ASSERT_EQ(RunSetup(L"--console"), 0);
    WriteFileText(GetPlaces().roaming + L"\\stubborn", "");
    PublishVersion("1.3.0");
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.3.0"));
}

TEST_F(Reinstall, BesideARunningOneEndsAtOnce) {
    PublishVersion("1.2.3");
    SetupRun first(L"--console", {HoldCall({"CreateProcessW", L"syspin.exe"})});
    ASSERT_TRUE(first.interceptions.WaitUntilHeld(0));
    const Lines requests = SeenRequests();
    const State during = TakeState();
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_EQ(RunSetup(L""), 0);
    EXPECT_STATE(during);
    EXPECT_EQ(SeenRequests(), requests);
    first.interceptions.Release(0);
    EXPECT_EQ(first.WaitForEnd(), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
}
