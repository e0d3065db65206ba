#include <windows.h>

#include <utility>

#include "scenarios/Scenario.h"

namespace {

class FirstInstall : public Scenario {};

const Lines plainDownload = {"https", "GET /download/win/manifest.json 200", "https",
                             "GET /app.zip 200"};

// Milliseconds since 1970, UTC.
long long CurrentTime() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return ((static_cast<long long>(time.dwHighDateTime) << 32) + time.dwLowDateTime) / 10000 -
           11644473600000;
}

}  // namespace

TEST_F(FirstInstall, PutsEverythingInPlaceAndStartsTheApplication) {
    PublishVersion("1.2.3");
    const long long before = CurrentTime();
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), plainDownload);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
    EXPECT_TRUE(RunningPrograms(L"setup.exe").empty());

    const Lines calls = StarterCalls();
    ASSERT_EQ(calls.size(), 1U);
    const std::string start =
        "\"" + Narrow(GetPlaces().starter) + "\"  --install-app=\"setup\"  --app-start-time=";
    ASSERT_EQ(calls[0].substr(0, start.size()), start);
    const long long told = std::stoll(calls[0].substr(start.size()));
    EXPECT_TRUE(told >= before && told <= CurrentTime()) << told;
}

TEST_F(FirstInstall, WithTheWindowDoesTheSameWithoutABoxOrAReport) {
    PublishVersion("1.2.3");
    EXPECT_EQ(RunSetup(L""), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), plainDownload);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
    EXPECT_TRUE(ReportHeads().empty());
}

TEST_F(FirstInstall, ClearsWhatAnInterruptedRunLeft) {
    PublishVersion("1.2.3");
    const Places& places = GetPlaces();
    WriteFileText(places.temp + L"\\quorvane-manifest.json", "{\"version\": \"9.9.9\"}");
    WriteFileText(places.temp + L"\\quorvane.zip", "half an archive");
    WriteFileText(places.extractFolder + L"\\locales\\old.pak", "of another version");
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
}

TEST_F(FirstInstall, TakesTheVersionInItsPlainFormAndTheArchiveOfThisMachine) {
    PublishManifest(R"({"windows": [{"arch": "ia32", "url": ")" + ServerUrl("no-starter.zip") +
                    R"("}, {"arch": "x64", "url": ")" + ServerUrl("app.zip") +
                    R"("}], "version": "01.02.3.4 beta"})");
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), plainDownload);
}

// With and without a path before its name, since the current folder changes at the start.
TEST_F(FirstInstall, BecomesTheUninstallerWhenTheArchiveHasNone) {
    for (const wchar_t* name : {L"setup.exe", L"..\\setup.exe", L""}) {
        SCOPED_TRACE(Narrow(name));
        WipeMachine();
        PublishVersion("1.2.3", "no-uninstaller.zip");
        const std::wstring& folder = GetPrepared().folder;
        const bool isBelow = *name == L'.';
        SetupRun run({.arguments = L"--console",
                      .commandName = name,
                      .startFolder = isBelow ? folder + L"\\scratch" : folder});
        EXPECT_EQ(run.WaitForEnd(), 0);
        State expected = StateAfterInstall("1.2.3");
        const std::string own = DescribeFile(GetPrepared().setup);
        ASSERT_NE(own, expected["app\\uninstall.exe"]);
        expected["app\\uninstall.exe"] = expected["app\\1.2.3\\uninstall.exe"] = own;
        EXPECT_STATE(expected);
    }
}

TEST_F(FirstInstall, EndsWellWhenTheArchiveHasNoStarter) {
    PublishVersion("1.2.3", "no-starter.zip");
    SetupRun run(L"--console", {SkipCall({"Sleep", L"100"})});
    EXPECT_EQ(run.WaitForEnd(), 0);
    State expected = StateAfterInstall("1.2.3");
    Drop(expected, "app\\QuorvaneStarter.exe");
    Drop(expected, "app\\1.2.3\\QuorvaneStarter.exe");
    Drop(expected, "roaming\\");
    EXPECT_STATE(expected);
    EXPECT_TRUE(RunningPrograms(appExeName).empty());
    // Five seconds of waiting for the application, a tenth at a time.
    EXPECT_EQ(run.interceptions.Calls(0), 50);
}

// The unpacking tells nobody that it failed, so the run ends well.
TEST_F(FirstInstall, TakesAnArchiveThatCannotBeUnpackedForAnEmptyOne) {
    for (const bool isCutShort : {false, true}) {
        SCOPED_TRACE(isCutShort);
        WipeMachine();
        ResetServer();
        PublishVersion("1.2.3", isCutShort ? "app.zip" : "damaged.zip");
        if (isCutShort) {
            AddFault("/app.zip", "cut", 1);
        }
        EXPECT_EQ(RunSetup(L"--console", {SkipCall({"Sleep", L"100"})}), 0);
        State expected = StateAfterInstall("1.2.3");
        const std::string own = DescribeFile(GetPrepared().setup);
        for (const char* place :
             {"app\\1.2.3\\", "app\\QuorvaneStarter.exe", "roaming\\", "temp\\"}) {
            Drop(expected, place);
        }
        expected["app\\1.2.3\\"] = folderMark;
        expected["app\\uninstall.exe"] = expected["app\\1.2.3\\uninstall.exe"] = own;
        EXPECT_STATE(expected);
        EXPECT_TRUE(RunningPrograms(appExeName).empty());
    }
}

TEST_F(FirstInstall, HandsTheCallersOptionsToTheApplication) {
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"--console --start-app-invisible",
         "--install-app=\"setup\"  --startup-app --app-start-time="},
        {L"--console --app-start-args \"--profile x --quiet\" --start-app-invisible",
         "--install-app=\"setup\"  --startup-app --profile x --quiet --app-start-time="},
        {L"--APP-START-ARGS --app-start-time=5 --unknown --Console",
         "--install-app=\"setup\"  --app-start-time=5"},
    };
    for (const auto& [arguments, expected] : cases) {
        SCOPED_TRACE(Narrow(arguments));
        WipeMachine();
        PublishVersion("1.2.3");
        EXPECT_EQ(RunSetup(arguments), 0);
        EXPECT_STATE(StateAfterInstall("1.2.3"));
        const Lines calls = StarterCalls();
        ASSERT_EQ(calls.size(), 1U);
        const std::size_t at = calls[0].find("\"  ");
        EXPECT_EQ(calls[0].substr(at + 3).starts_with(expected), true) << calls[0];
        const bool isOwnTime = std::string(expected).ends_with("=5");
        EXPECT_EQ(calls[0].ends_with("=5"), isOwnTime) << calls[0];
    }
}
