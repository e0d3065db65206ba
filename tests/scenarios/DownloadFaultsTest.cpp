#include <windows.h>

#include "scenarios/Scenario.h"

using DownloadFaults = Scenario;

namespace {

constexpr char manifestPath[] = "/download/win/manifest.json";
const Lines gotManifest = {"https", "GET /download/win/manifest.json 200"};

// The pauses between the passes.
const InterceptionRow noPauses = SkipCall({"Sleep", L"1000"});

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

TEST_F(DownloadFaults, TheSecondAddressIsTriedFirstAndTheMainOneAfterIt) {
    PublishManifest(
        MakeManifest("1.2.3", ServerUrl("app.zip"), "https:" + ServerUrl("alt.zip").substr(5)));
    AddFault("/alt.zip", "refuse", -1);
    AddFault("/app.zip", "refuse", 4);
    SetupRun run(L"--console", {noPauses});
    run.Finish();
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), gotManifest + Attempts(5, "/alt.zip refuse") +
                                  Attempts(4, "/app.zip refuse") + Attempts(1, "/app.zip 200"));
    EXPECT_EQ(run.interceptions.Calls(0), 8);
}

TEST_F(DownloadFaults, TheMainAddressIsNotAskedWhenTheSecondOneAnswers) {
    PublishManifest(MakeManifest("1.2.3", ServerUrl("no-starter.zip"), ServerUrl("app.zip")));
    EXPECT_EQ(RunSetup(L"--console"), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(), gotManifest + Attempts(1, "/app.zip 200"));
}

TEST_F(DownloadFaults, ADeadServerEndsTheRunAfterTenAttempts) {
    const struct {
        const char* path;
        const char* stage;
        Lines requests;
    } cases[] = {
        {manifestPath, "Загрузка файла манифеста...",
         Attempts(5, "/download/win/manifest.json refuse")},
        {"/app.zip", "Загрузка файлов...", gotManifest + Attempts(5, "/app.zip refuse")},
    };
    for (const auto& [path, stage, requests] : cases) {
        SCOPED_TRACE(path);
        SetUp();
        PutInstallation("1.0.0");
        PublishVersion("1.2.3");
        AddFault(path, "refuse", -1);
        const State before = TakeState();
        EXPECT_EQ(
            RunInWindow({.interceptions = {noPauses}}, {{"TextOfferFullInstaller", IDCANCEL}}),
            std::string("Установка : ") + stage + " : Ошибка загрузки файла");
        EXPECT_STATE(WithReport(before));
        EXPECT_EQ(SeenRequests(), requests + Lines{"POST /api/v1/service/reporterror 200"});
        EXPECT_TRUE(RunningPrograms(appExeName).empty());
    }
}

TEST_F(DownloadFaults, AManifestWithoutAnAddressOrSenseEndsTheRun) {
    const std::string noSense = "Загрузка файла манифеста... : Ошибка обработки файла манифеста";
    const std::string noAddress =
        "Загрузка файлов... : Нет ссылки на дистрибутив для данной платформы";
    const std::string version = "{\"version\": \"1.2.3\"";
    const std::pair<std::string, std::string> cases[] = {
        // Then the server answers with an error page, which is stored as the file.
        {"no manifest", noSense},
        {"", noSense},
        {version, noSense},
        {"{\"version\": 123}", noSense},
        {version + ", \"windows\": [\"app.zip\"]}", noSense},
        {version + "}", noAddress},
        {version + ", \"windows\": []}", noAddress},
        {version + ", \"windows\": \"app.zip\"}", noAddress},
        {version + ", \"windows\": [{\"arch\": \"x64\", \"url\": 5}]}", noAddress},
        {version + ", \"windows\": [null]}", noAddress},
    };
    PutInstallation("1.0.0");
    const State expected = WithReport(TakeState());
    for (const auto& [text, failure] : cases) {
        SCOPED_TRACE(text);
        ResetServer();
        if (text != "no manifest") {
            PublishManifest(text);
        }
        EXPECT_EQ(RunFailing(), "Установка : " + failure);
        EXPECT_STATE(expected);
    }
}
