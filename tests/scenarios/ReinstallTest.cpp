#include <windows.h>

#include "scenarios/Scenario.h"

using Reinstall = Scenario;

TEST_F(Reinstall, OfTheSameVersionReplacesItsFolderAfterOk) {
    PutInstallation("1.2.3");
    PublishVersion("1.2.3");
    WriteFileText(places.app + L"\\1.2.3\\added.txt", "by the user");
    SetupRun run(L"--console");
    run.Finish({{"TextUpToDateContinue", IDOK}});
    EXPECT_STATE(StateAfterInstall("1.2.3"));
}

TEST_F(Reinstall, ThatTheUserDeclinesChangesNothingAndTellsNobody) {
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"1.2.3", L"--console"}, {"1.10.0", L"--console"}, {"1.2.3", L"--install"}};
    for (const auto& [installed, arguments] : cases) {
        SCOPED_TRACE(Narrow(arguments) + installed);
        SetUp();
        PutInstallation(installed);
        PublishVersion("1.2.3");
        const State before = TakeState();
        SetupRun run(arguments);
        const Box box = WaitForBox(run.process);
        EXPECT_FALSE(box.hasOwner);
        EXPECT_EQ(box.buttons, (Buttons{IDOK, IDCANCEL}));
        run.Finish({{"TextUpToDateContinue", IDCANCEL}});
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
        SetUp();
        PutInstallation(installed);
        PublishVersion(offered);
        SetupRun run(L"--console");
        if (asks) {
            run.Answer("TextUpToDateContinue", IDOK);
        }
        run.Finish();
        State expected = StateAfterInstall(offered);
        AddTree(expected, std::string("app\\") + installed + "\\", SampleFolder(L"former"));
        EXPECT_STATE(expected);
    }
}

TEST_F(Reinstall, TakesAVersionFileThatMakesNoSenseForAnOldOne) {
    PutInstallation("1.2.3");
    WriteFileText(places.versionFile, "no version at all");
    PublishVersion("1.2.3");
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
}

TEST_F(Reinstall, ClosesOrEndsTheRunningApplicationAndStartsTheNewOne) {
    for (const bool isStubborn : {false, true}) {
        SCOPED_TRACE(isStubborn);
        SetUp();
        PublishVersion("1.2.3");
        ASSERT_EQ(RunSetup(L"--console"), 0);
        ASSERT_EQ(RunningPrograms(appExeName).size(), 5U);
        if (isStubborn) {
            WriteFileText(places.roaming + L"\\stubborn", "");
        }
        PublishVersion("1.3.0");
        EXPECT_EQ(RunSetup(L"--console"), 0);
        EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.3.0"));
        const Lines calls = StarterCalls();
        ASSERT_EQ(calls.size(), 3U);
        EXPECT_EQ(calls[1], "\"" + Narrow(places.starter) + "\" --kill-app");
        EXPECT_NE(calls[2].find("--install-app"), std::string::npos);
    }
}
