#include <windows.h>

#include "scenarios/Scenario.h"

namespace {

// A server that speaks https alone, with a certificate of its own making.
class SecureServer : public Scenario {};

SetupCall SecureCall(const std::wstring& arguments) {
    return {.arguments = arguments,
            .interceptions = {SkipCall({"Sleep", L"1000"})},
            .program = GetPrepared().secureSetup};
}

void ExpectNothingFromAnUntrustedOne() {
    PutInstallation("1.0.0");
    State expected = TakeState();
    EXPECT_EQ(RunInWindow(SecureCall(L""), {{"TextOfferFullInstaller", IDCANCEL}}), "");
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
    const Lines seen = SeenRequests();
    EXPECT_FALSE(seen.empty());
    for (const std::string& line : seen) {
        EXPECT_EQ(line.find('/'), std::string::npos) << line;
    }
}

void ExpectAnInstallWithoutHttp() {
    SetupRun run(SecureCall(L"--console"));
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SeenRequests(),
              (Lines{"secure GET /download/win/manifest.json 200", "secure GET /app.zip 200"}));
}

void ExpectTheReport() {
    PublishManifest("no manifest");
    EXPECT_EQ(RunInWindow(SecureCall(L""), {{"TextInstallFailed", IDOK}}),
              "Установка : Загрузка файла манифеста... : Ошибка обработки файла манифеста");
    EXPECT_EQ(SeenRequests(), (Lines{"secure GET /download/win/manifest.json 200",
                                     "secure POST /api/v1/service/reporterror 200"}));
}

}  // namespace

// One test, since what is once trusted stays so.
TEST_F(SecureServer, GivesAndTakesOnceItIsTrusted) {
    const auto start = [this] {
        SetUp();
        PublishManifest(MakeManifest("1.2.3", SecureUrl("app.zip")));
    };
    start();
    ExpectNothingFromAnUntrustedOne();
    TrustServer();
    start();
    ExpectAnInstallWithoutHttp();
    start();
    ExpectTheReport();
}
