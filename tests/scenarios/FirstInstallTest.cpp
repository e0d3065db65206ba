#include <windows.h>

#include "scenarios/Scenario.h"

using FirstInstall = Scenario;

namespace {

// Milliseconds since 1970, UTC.
long long CurrentTime() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return ((static_cast<long long>(time.dwHighDateTime) << 32) + time.dwLowDateTime) / 10000 -
           11644473600000;
}

}  // namespace

TEST_F(FirstInstall, PutsEverythingInPlaceAndStartsTheApplication) {
    // The archive for this machine is not the first one; the version is not in its plain form.
    PublishManifest(R"({"windows": [{"arch": "ia32", "url": ")" + ServerUrl("no-starter.zip") +
                    R"("}, {"arch": "x64", "url": ")" + ServerUrl("app.zip") +
                    R"("}], "version": "01.02.3.4 beta"})");
    // By an interrupted run.
    WriteFileText(places.temp + L"\\quorvane-manifest.json", "{\"version\": \"9.9.9\"}");
    WriteFileText(places.temp + L"\\quorvane.zip", "half an archive");
    WriteFileText(places.extractFolder + L"\\locales\\old.pak", "of another version");
    const long long before = CurrentTime();
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(),
              (Lines{"https", "GET /download/win/manifest.json 200", "https", "GET /app.zip 200"}));
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
    EXPECT_TRUE(RunningPrograms(L"setup.exe").empty());

    const Lines calls = StarterCalls();
    ASSERT_EQ(calls.size(), 1U);
    const std::string start =
        "\"" + Narrow(places.starter) + "\"  --install-app=\"setup\"  --app-start-time=";
    ASSERT_EQ(calls[0].substr(0, start.size()), start);
    const long long told = std::stoll(calls[0].substr(start.size()));
    EXPECT_TRUE(told >= before && told <= CurrentTime()) << told;
}

// By its own path, although the current folder changes at the start.
TEST_F(FirstInstall, BecomesTheUninstallerWhenTheArchiveHasNone) {
    PublishVersion("1.2.3", "no-uninstaller.zip");
    SetupRun({.arguments = L"--console",
              .commandName = L"..\\setup.exe",
              .startFolder = GetPrepared().folder + L"\\scratch"})
        .Finish();
    State expected = StateAfterInstall("1.2.3");
    const std::string own = DescribeFile(GetPrepared().setup);
    ASSERT_NE(own, expected["app\\uninstall.exe"]);
    expected["app\\uninstall.exe"] = expected["app\\1.2.3\\uninstall.exe"] = own;
    EXPECT_STATE(expected);
}

// The unpacking tells nobody that it failed.
TEST_F(FirstInstall, EndsWellWithoutAStarterOrWithAnArchiveThatCannotBeUnpacked) {
    for (const bool isDamaged : {false, true}) {
        SCOPED_TRACE(isDamaged);
        SetUp();
        PublishVersion("1.2.3", isDamaged ? "damaged.zip" : "no-starter.zip");
        SetupRun run(L"--console", {SkipCall({"Sleep", L"100"})});
        run.Finish();
        State expected = StateAfterInstall("1.2.3");
        Drop(expected, "app\\QuorvaneStarter.exe");
        Drop(expected, "app\\1.2.3\\QuorvaneStarter.exe");
        Drop(expected, "roaming\\");
        if (isDamaged) {
            Drop(expected, "app\\1.2.3\\");
            Drop(expected, "temp\\");
            expected["app\\1.2.3\\"] = folderMark;
            expected["app\\uninstall.exe"] = expected["app\\1.2.3\\uninstall.exe"] =
                DescribeFile(GetPrepared().setup);
        }
        EXPECT_STATE(expected);
        EXPECT_TRUE(RunningPrograms(appExeName).empty());
        // Five seconds of waiting for the application, a tenth at a time.
        EXPECT_EQ(run.interceptions.Calls(0), 50);
    }
}

TEST_F(FirstInstall, HandsTheCallersOptionsToTheApplication) {
    const std::pair<const wchar_t*, std::string> cases[] = {
        {L"--console --start-app-invisible", "--startup-app --app-start-time="},
        {L"--console --app-start-args \"--profile x --quiet\" --start-app-invisible",
         "--startup-app --profile x --quiet --app-start-time="},
        {L"--APP-START-ARGS --app-start-time=5 --unknown --Console", "--app-start-time=5"},
    };
    for (const auto& [arguments, expected] : cases) {
        SCOPED_TRACE(Narrow(arguments));
        SetUp();
        PublishVersion("1.2.3");
        EXPECT_EQ(RunSetup(arguments), 0);
        EXPECT_STATE(StateAfterInstall("1.2.3"));
        const Lines calls = StarterCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_NE(calls[0].find("\"  --install-app=\"setup\"  " + expected), std::string::npos)
            << calls[0];
        EXPECT_EQ(calls[0].ends_with("=5"), expected.ends_with("=5")) << calls[0];
    }
}
