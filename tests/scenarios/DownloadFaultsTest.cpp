#include <windows.h>

#include "scenarios/Scenario.h"

namespace {

class DownloadFaults : public Scenario {};

constexpr char manifestPath[] = "/download/win/manifest.json";

// The pauses between the passes, which a run takes where it says nothing else.
InterceptionRow WithoutPauses() {
    return SkipCall({"Sleep", L"1000"});
}

Lines Attempts(int passes, const std::string& request) {
    Lines lines;
    for (int i = 0; i < passes; ++i) {
        lines.insert(lines.end(), {"https", "GET " + request});
    }
    return lines;
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace

TEST_F(DownloadFaults, AServerThatComesUpAtTheFifthPassIsWaitedFor) {
    PublishVersion("1.2.3");
    AddFault(manifestPath, "refuse", 4);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_GE(GetTickCount64() - start, 4000U);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), Attempts(4, "/download/win/manifest.json refuse") +
                                  Attempts(1, "/download/win/manifest.json 200") +
                                  Attempts(1, "/app.zip 200"));
}

// One plain archive's address fails while the other one works.
TEST_F(DownloadFaults, TheSecondAddressIsTriedFirstAndTheMainOneAfterIt) {
    PublishManifest(
        MakeManifest("1.2.3", ServerUrl("app.zip"), "https:" + ServerUrl("alt.zip").substr(5)));
    AddFault("/alt.zip", "refuse", -1);
    SetupRun run(L"--console", {WithoutPauses()});
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), Attempts(1, "/download/win/manifest.json 200") +
                                  Attempts(5, "/alt.zip refuse") + Attempts(1, "/app.zip 200"));
    EXPECT_EQ(run.interceptions.Calls(0), 4);
}

TEST_F(DownloadFaults, TheMainAddressIsNotAskedWhenTheSecondOneAnswers) {
    PublishManifest(MakeManifest("1.2.3", ServerUrl("no-starter.zip"), ServerUrl("app.zip")));
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(),
              Attempts(1, "/download/win/manifest.json 200") + Attempts(1, "/app.zip 200"));
}

TEST_F(DownloadFaults, ADeadServerEndsTheRunAfterTenAttempts) {
    const struct {
        const char* path;
        const char* stage;
        Lines requests;
    } cases[] = {
        {manifestPath, "Загрузка файла манифеста...",
         Attempts(5, "/download/win/manifest.json refuse")},
        {"/app.zip", "Загрузка файлов...",
         Attempts(1, "/download/win/manifest.json 200") + Attempts(5, "/app.zip refuse")},
    };
    for (const auto& [path, stage, requests] : cases) {
        SCOPED_TRACE(path);
        WipeMachine();
        ResetServer();
        PutInstallation("1.0.0");
        PublishVersion("1.2.3");
        AddFault(path, "refuse", -1);
        State expected = TakeState();
        EXPECT_EQ(RunInWindow({.interceptions = {WithoutPauses()}},
                              {{"TextOfferFullInstaller", IDCANCEL}}),
                  std::string("Установка : ") + stage + " : Ошибка загрузки файла");
        expected[savedReportPlace] = savedReport;
        EXPECT_STATE(expected);
        Lines seen = SeenRequests();
        ASSERT_FALSE(seen.empty());
        EXPECT_EQ(seen.back(), "POST /api/v1/service/reporterror 200");
        seen.pop_back();
        EXPECT_EQ(seen, requests);
        EXPECT_TRUE(RunningPrograms(appExeName).empty());
    }
}

TEST_F(DownloadFaults, AManifestThatMakesNoSenseEndsTheRun) {
    PutInstallation("1.0.0");
    State expected = TakeState();
    expected[savedReportPlace] = savedReport;
    for (const char* text : {"", "{\"version\": \"1.2.3\"", "[]", "{\"version\": 123}",
                             "{\"version\": \"1.2.3\", \"windows\": [\"app.zip\"]}", "missing"}) {
        SCOPED_TRACE(text);
        ResetServer();
        // Without a manifest the server answers with an error page, which is stored as the file.
        if (std::string(text) != "missing") {
            PublishManifest(text);
        }
        EXPECT_EQ(RunInWindow({}, {{"TextInstallFailed", IDOK}}),
                  "Установка : Загрузка файла манифеста... : Ошибка обработки файла манифеста");
        EXPECT_STATE(expected);
    }
}

TEST_F(DownloadFaults, AManifestWithoutAnAddressEndsTheRun) {
    PutInstallation("1.0.0");
    State expected = TakeState();
    expected[savedReportPlace] = savedReport;
    for (const char* entries :
         {"", ", \"windows\": []", ", \"windows\": \"app.zip\"",
          ", \"windows\": [{\"arch\": \"x64\", \"url\": 5}]", ", \"windows\": [null]"}) {
        SCOPED_TRACE(entries);
        ResetServer();
        PublishManifest(std::string("{\"version\": \"1.2.3\"") + entries + "}");
        EXPECT_EQ(RunInWindow({}, {{"TextInstallFailed", IDOK}}),
                  "Установка : Загрузка файлов... : Нет ссылки на дистрибутив для данной "
                  "платформы");
        EXPECT_STATE(expected);
    }
}
