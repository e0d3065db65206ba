#include <windows.h>

#include "scenarios/Scenario.h"

using Offline = Scenario;

TEST_F(Offline, InstallsWithoutARequest) {
    for (const wchar_t* arguments : {L"--console", L""}) {
        SCOPED_TRACE(Narrow(arguments));
        SetUp();
        SetupRun run({.arguments = arguments, .program = GetPrepared().offlineSetup});
        run.Finish();
        EXPECT_STATE(StateAfterInstall("1.2.3"));
        EXPECT_EQ(SeenRequests(), Lines());
        EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
        const Lines calls = StarterCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_NE(calls[0].find("--install-app=\"offline\" --is-offline-install --app-start-time="),
                  std::string::npos)
            << calls[0];
    }
}

TEST_F(Offline, AsksAboutTheSameVersionAfterUnpacking) {
    for (const int button : {IDOK, IDCANCEL}) {
        SCOPED_TRACE(button);
        SetUp();
        PutInstallation("1.2.3");
        State expected = TakeState();
        AddUnpacked(expected);
        SetupRun run({.arguments = L"--console", .program = GetPrepared().offlineSetup});
        run.Finish({{"TextUpToDateContinue", button}});
        EXPECT_STATE(button == IDOK ? StateAfterInstall("1.2.3") : expected);
    }
}

TEST_F(Offline, FailsWhenTheArchiveCannotBeWritten) {
    PutInstallation("1.0.0");
    // A folder stands where the archive is to go.
    CreateDirectoryW((places.temp + L"\\quorvane.zip").c_str(), nullptr);
    const State before = TakeState();
    EXPECT_EQ(RunFailing({.program = GetPrepared().offlineSetup}),
              "Установка : Загрузка файла манифеста... : Ошибка выгрузки дистрибутива из "
              "ресурсов");
    EXPECT_STATE(WithReport(before));
}
