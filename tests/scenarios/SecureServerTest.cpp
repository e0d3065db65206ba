#include <windows.h>

#include "scenarios/Scenario.h"

// A server that speaks https alone, with a certificate of its own making.
using SecureServer = Scenario;

// One test, since what is once trusted stays so.
TEST_F(SecureServer, GivesAndTakesOnceItIsTrusted) {
    const SetupCall call = {.interceptions = {SkipCall({"Sleep", L"1000"})},
                            .program = GetPrepared().secureSetup};
    const std::string manifest = MakeManifest("1.2.3", SecureUrl("app.zip"));
    PublishManifest(manifest);
    PutInstallation("1.0.0");
    const State before = TakeState();
    EXPECT_EQ(RunInWindow(call, {{"TextOfferFullInstaller", IDCANCEL}}), "");
    EXPECT_STATE(WithReport(before));
    EXPECT_FALSE(SeenRequests().empty());
    for (const std::string& line : SeenRequests()) {
        EXPECT_EQ(line.find('/'), std::string::npos) << line;
    }

    TrustServer();
    SetUp();
    PublishManifest(manifest);
    EXPECT_EQ(RunInWindow(call), "");
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(),
              (Lines{"secure GET /download/win/manifest.json 200", "secure GET /app.zip 200"}));

    SetUp();
    PublishManifest("no manifest");
    EXPECT_EQ(RunFailing(call),
              "Установка : Загрузка файла манифеста... : Ошибка обработки файла манифеста");
    EXPECT_EQ(SeenRequests(), (Lines{"secure GET /download/win/manifest.json 200",
                                     "secure POST /api/v1/service/reporterror 200"}));
}
