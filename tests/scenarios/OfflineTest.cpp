#include <windows.h>

#include "scenarios/Scenario.h"

namespace {

class Offline : public Scenario {};

SetupCall OfflineCall(const std::wstring& arguments,
                      const std::vector<InterceptionRow>& interceptions = {}) {
    return {.arguments = arguments,
            .interceptions = interceptions,
            .program = GetPrepared().offlineSetup};
}

// What an offline run has unpacked and not put in place.
void AddUnpacked(State& state) {
    AddTree(state, "temp\\Quorvane.TEMP\\", SampleFolder(L"full"));
}

}  // namespace

TEST_F(Offline, InstallsWithoutARequest) {
    for (const wchar_t* arguments : {L"--console", L""}) {
        SCOPED_TRACE(Narrow(arguments));
        WipeMachine();
        SetupRun run(OfflineCall(arguments));
        EXPECT_EQ(run.WaitForEnd(), 0);
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
        WipeMachine();
        PutInstallation("1.2.3");
        State expected = TakeState();
        SetupRun run(OfflineCall(L"--console"));
        run.Answer("TextUpToDateContinue", button);
        EXPECT_EQ(run.WaitForEnd(), 0);
        AddUnpacked(expected);
        EXPECT_STATE(button == IDOK ? StateAfterInstall("1.2.3") : expected);
    }
}

TEST_F(Offline, FailsWhenTheArchiveCannotBeWritten) {
    PutInstallation("1.0.0");
    // A folder stands where the archive is to go.
    CreateDirectoryW((GetPlaces().temp + L"\\quorvane.zip").c_str(), nullptr);
    State expected = TakeState();
    EXPECT_EQ(RunInWindow(OfflineCall(L""), {{"TextInstallFailed", IDOK}}),
              "Установка : Загрузка файла манифеста... : Ошибка выгрузки дистрибутива из "
              "ресурсов");
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}

TEST_F(Offline, LeavesWhatItWroteOfTheArchiveWhenTheDiskIsFull) {
    PutInstallation("1.0.0");
    State expected = TakeState();
    EXPECT_EQ(RunInWindow(OfflineCall(L"", {FailCall({"WriteFile", L"", 1, 1}, ERROR_DISK_FULL)}),
                          {{"TextInstallFailed", IDOK}}),
              "Установка : Загрузка файла манифеста... : Ошибка выгрузки дистрибутива из "
              "ресурсов");
    expected[savedReportPlace] = savedReport;
    expected["temp\\quorvane.zip"] = "";
    EXPECT_STATE(expected);
}
