#include "Server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "Client.h"
#include "ScratchFolder.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr char kReports[] = "/live/api/v1/service/reporterror";
constexpr char kJson[] = "Content-Type: application/json; charset=utf-8\r\n";

/// Every case is run over http and over https.
class ServerTest : public testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        for (size_t at = 0; at < archive_.size(); ++at)
            archive_[at] = static_cast<char>(at * 7 + at / 251);
        WriteFile(scratch_.path / "www/a.zip", archive_);
        WriteFile(scratch_.path / "www/empty.json", "");
        ServerSettings settings;
        settings.directory = scratch_.path / "www";
        settings.port = 0;
        if (GetParam())
            settings.httpsPort = 0;
        settings.reports = scratch_.path / "reports";
        settings.certificates = scratch_.path / "certificate";
        settings.logFile = scratch_.path / "requests.log";
        ASSERT_EQ(server_.Start(settings), "");
        port_ = GetParam() ? server_.HttpsPort() : server_.HttpPort();
        if (GetParam())
            certificate_ = CertificatePemFile(settings.certificates);
    }

    void AddFault(const std::string& json) {
        Client client(port_, certificate_);
        ASSERT_TRUE(client.Ask("POST /_control/fault", kJson, json));
        ASSERT_EQ(client.Status(), 200);
    }

    /// The last line of the log, from the scheme on.
    std::string LastLine() {
        const auto entries = server_.Log().Entries();
        if (entries.empty())
            return "";
        const std::string line = FormatLogLine(entries.back());
        return line.substr(line.find('Z') + 2);
    }

    std::string Logged(const std::string& rest) const {
        return (GetParam() ? "https " : "http ") + rest;
    }

    ScratchFolder scratch_;
    std::string archive_ = std::string(300'000, ' ');
    DevServer server_;
    int port_ = 0;
    std::string certificate_;
};

INSTANTIATE_TEST_SUITE_P(, ServerTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "https" : "http"; });

TEST_P(ServerTest, ServesFilesWholeAndLogsBeforeTheEnd) {
    Client client(port_, certificate_);
    ASSERT_TRUE(client.Ask("GET /a.zip?x=1", "Accept-Encoding: gzip\r\n"));
    EXPECT_EQ(client.Status(), 200);
    EXPECT_NE(client.head.find("Content-Type: application/zip\r\n"), std::string::npos);
    EXPECT_NE(client.head.find("Cache-Control: no-store\r\n"), std::string::npos);
    EXPECT_NE(client.head.find("Content-Length: 300000\r\n"), std::string::npos);
    EXPECT_TRUE(client.ReadBytes(archive_.size()));
    EXPECT_EQ(LastLine(), Logged("GET /a.zip?x=1 200 300000"));
    EXPECT_EQ(client.ReadToEnd(), Ending::closed);
    EXPECT_TRUE(client.received == archive_);

    Client head(port_, certificate_);
    ASSERT_TRUE(head.Ask("HEAD /a.zip"));
    EXPECT_NE(head.head.find("Content-Length: 300000\r\n"), std::string::npos);
    EXPECT_EQ(head.ReadToEnd(), Ending::closed);
    EXPECT_EQ(head.received, "");

    const std::pair<const char*, int> others[] = {{"GET /empty.json", 200},
                                                  {"GET /%2e%2e/requests.log", 403},
                                                  {"GET /../requests.log", 403},
                                                  {"GET /b.zip", 404},
                                                  {"POST /a.zip", 404}};
    for (const auto& [request, status] : others) {
        Client other(port_, certificate_);
        ASSERT_TRUE(other.Ask(request, "Accept-Encoding: gzip\r\n")) << request;
        EXPECT_EQ(other.Status(), status) << request;
        EXPECT_EQ(other.head.find("Content-Encoding"), std::string::npos) << request;
        EXPECT_EQ(other.ReadToEnd(), Ending::closed) << request;
    }
    const std::string lines = ReadFile(scratch_.path / "requests.log");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 7);
}

TEST_P(ServerTest, RefusesWithoutAByteAsOftenAsTold) {
    AddFault(R"({"path":"/a","fault":"refuse","count":2})");
    for (int attempt = 0; attempt < 2; ++attempt) {
        Client client(port_, certificate_);
        EXPECT_FALSE(client.Ask("GET /a.zip"));
        EXPECT_EQ(client.ending, Ending::reset);
        EXPECT_EQ(client.received, "");
        EXPECT_EQ(LastLine(), Logged("GET /a.zip refuse 0"));
    }
    Client client(port_, certificate_);
    ASSERT_TRUE(client.Ask("GET /a.zip"));
    EXPECT_EQ(client.Status(), 200);
}

TEST_P(ServerTest, AnswersWithErrorsAndRedirects) {
    AddFault(R"({"path":"/a","fault":"404"})");
    AddFault(R"({"path":"/a","fault":"redirect","to":"/b?c"})");
    AddFault(R"({"path":"/live","fault":"500"})");
    Client missing(port_, certificate_);
    ASSERT_TRUE(missing.Ask("GET /a.zip"));
    EXPECT_EQ(missing.Status(), 404);
    Client moved(port_, certificate_);
    ASSERT_TRUE(moved.Ask("GET /a.zip"));
    EXPECT_EQ(moved.Status(), 302);
    EXPECT_NE(moved.head.find("Location: /b?c\r\n"), std::string::npos);
    EXPECT_EQ(LastLine(), Logged("GET /a.zip redirect 0"));
    // Unread as the report is, the answer must arrive.
    Client failed(port_, certificate_);
    ASSERT_TRUE(failed.Ask(std::string("POST ") + kReports, kJson, std::string(2'000'000, 'x')));
    EXPECT_EQ(failed.Status(), 500);
    EXPECT_EQ(failed.ReadToEnd(), Ending::closed);
    EXPECT_EQ(NamesIn(scratch_.path / "reports"), std::set<std::string>());
}

TEST_P(ServerTest, CutsTheBodyAfterSoManyBytes) {
    for (const size_t after : {size_t{0}, size_t{100'000}}) {
        AddFault(R"({"path":"/a","fault":"cut","after":)" + std::to_string(after) + "}");
        Client client(port_, certificate_);
        ASSERT_TRUE(client.Ask("GET /a.zip"));
        EXPECT_NE(client.head.find("Content-Length: 300000\r\n"), std::string::npos);
        EXPECT_EQ(client.ReadToEnd(), GetParam() ? Ending::truncated : Ending::closed);
        EXPECT_TRUE(client.received == archive_.substr(0, after)) << client.received.size();
        EXPECT_EQ(LastLine(), Logged("GET /a.zip cut " + std::to_string(after)));
    }
    AddFault(R"({"path":"/a","fault":"cut","after":300000})");
    Client whole(port_, certificate_);
    ASSERT_TRUE(whole.Ask("GET /a.zip"));
    EXPECT_EQ(whole.ReadToEnd(), Ending::closed);
    EXPECT_EQ(LastLine(), Logged("GET /a.zip 200 300000"));
}

TEST_P(ServerTest, StallsUntilTheServerEnds) {
    AddFault(R"({"path":"/a","fault":"stall","after":70000,"count":2})");
    Client client(port_, certificate_);
    ASSERT_TRUE(client.Ask("GET /a.zip"));
    ASSERT_TRUE(client.ReadBytes(70'000));
    EXPECT_EQ(LastLine(), Logged("GET /a.zip stall 70000"));
    {
        Client leaver(port_, certificate_);
        ASSERT_TRUE(leaver.Ask("GET /a.zip"));
    }
    Client other(port_, certificate_);
    EXPECT_TRUE(other.Ask("GET /a.zip")) << "others are not held up";
    const auto before = Clock::now();
    server_.Stop();
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(3));
    client.ReadToEnd();
    EXPECT_EQ(client.received.size(), 70'000u);
    EXPECT_FALSE(Client(port_).Connected());
}

TEST_P(ServerTest, PacesSlowAnswersAndNoticesAClientThatLeaves) {
    AddFault(R"({"path":"/a","fault":"slow","bytes_per_second":1000000,"count":1})");
    AddFault(R"({"path":"/a","fault":"slow","bytes_per_second":1,"count":1})");
    Client client(port_, certificate_);
    const auto before = Clock::now();
    ASSERT_TRUE(client.Ask("GET /a.zip"));
    ASSERT_TRUE(client.ReadBytes(100'000));
    const auto third = Clock::now() - before;
    EXPECT_EQ(client.ReadToEnd(), Ending::closed);
    EXPECT_GE(third, std::chrono::milliseconds(50));
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(290));
    EXPECT_TRUE(client.received == archive_);
    EXPECT_EQ(LastLine(), Logged("GET /a.zip slow 300000"));
    {
        Client leaver(port_, certificate_);
        ASSERT_TRUE(leaver.Ask("GET /a.zip"));
    }
    EXPECT_TRUE(WaitFor([&] { return LastLine().starts_with(Logged("GET /a.zip client-left ")); }))
        << LastLine();
}

TEST_P(ServerTest, StoresReportsAndRefusesBadOnes) {
    const std::string ask = std::string("POST ") + kReports;
    Client good(port_, certificate_);
    ASSERT_TRUE(good.Ask(ask, kJson + std::string("User-Agent: Tester\r\nExpect: 100-continue\r\n"),
                         R"({ "message": "%d0%a3" })"));
    good.ReadToEnd();
    EXPECT_NE((good.head + good.received).find("HTTP/1.1 200 "), std::string::npos);
    EXPECT_EQ(ReadFile(scratch_.path / "reports/0001.txt"), "\xd0\xa3");
    const auto facts = nlohmann::json::parse(ReadFile(scratch_.path / "reports/0001.json"));
    EXPECT_EQ(facts["path"], kReports);
    EXPECT_EQ(facts["headers"]["User-Agent"], "Tester");

    const std::string chunk(1 << 20, ' ');
    std::string chunked;
    for (int count = 0; count < 17; ++count)
        chunked += "100000\r\n" + chunk + "\r\n";
    const struct {
        std::string headers, body;
        int status;
    } bad[] = {
        {kJson, R"({ "message": "%g0" })", 400},
        {"Content-Type: multipart/form-data; boundary=x\r\n", R"({ "message": "a" })", 400},
        {"", R"({ "message": "a" })", 400},
        {kJson, std::string(ReportInbox::kLargestBody + 1, ' '), 413},
        {kJson + std::string("Transfer-Encoding: chunked\r\n\r\n") + chunked + "0\r\n", "", 413},
    };
    for (const auto& [headers, body, status] : bad) {
        Client client(port_, certificate_);
        ASSERT_TRUE(client.Ask(ask, headers, body)) << status << ' ' << body.size();
        EXPECT_EQ(client.Status(), status) << headers.substr(0, 60);
        EXPECT_TRUE(LastLine().starts_with(
            Logged("POST " + std::string(kReports) + ' ' + std::to_string(status))))
            << LastLine();
    }
    EXPECT_EQ(NamesIn(scratch_.path / "reports").size(), 3u);
}

TEST_P(ServerTest, ControlShowsAndResets) {
    AddFault(R"({"path":"/a","fault":"404","count":-1})");
    Client(port_, certificate_).Ask("GET /a.zip");
    Client log(port_, certificate_);
    ASSERT_TRUE(log.Ask("GET /_control/log"));
    log.ReadToEnd();
    const auto entries = nlohmann::json::parse(log.received);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0]["target"], "/a.zip");
    EXPECT_EQ(entries[0]["status"], 404);
    Client wrong(port_, certificate_);
    ASSERT_TRUE(wrong.Ask("POST /_control/fault", kJson, "{}"));
    EXPECT_EQ(wrong.Status(), 400);
    Client reset(port_, certificate_);
    ASSERT_TRUE(reset.Ask("POST /_control/reset"));
    Client whole(port_, certificate_);
    ASSERT_TRUE(whole.Ask("GET /a.zip"));
    EXPECT_EQ(whole.Status(), 200);
    whole.ReadToEnd();
    const std::string lines = ReadFile(scratch_.path / "requests.log");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1) << lines;
    EXPECT_TRUE(lines.starts_with("1 ")) << lines;
}

TEST_P(ServerTest, EndsTheWrongSchemeAtOnceAndIsNoRequest) {
    std::string error;
    ASSERT_TRUE(MakeTlsContext(scratch_.path / "stranger", error)) << error;
    const std::string stranger = CertificatePemFile(scratch_.path / "stranger");
    const auto before = Clock::now();
    if (GetParam()) {
        Client plain(port_);
        EXPECT_FALSE(plain.Ask("GET /a.zip"));
        EXPECT_EQ(LastLine(), "https - - http-on-tls 0");
        EXPECT_FALSE(Client(port_, stranger).Connected());
        EXPECT_TRUE(WaitFor([&] { return LastLine() == "https - - tls-failed 0"; })) << LastLine();
        { const Client silent(port_, certificate_); }
        EXPECT_TRUE(WaitFor([&] { return LastLine() == "https - - no-request 0"; })) << LastLine();
    } else {
        EXPECT_FALSE(Client(port_, stranger).Connected());
        EXPECT_EQ(LastLine(), "http - - tls-on-http 0");
    }
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(3));
}

}  // namespace
