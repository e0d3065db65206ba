#include "Server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "ScratchFolder.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr char kReports[] = "/live/api/v1/service/reporterror";
constexpr char kJson[] = "application/json; charset=utf-8";

struct Answer {
    int status = 0;  ///< 0: none came
    bool whole = false;
    std::string body, location;
};

/// Looks until the condition holds, 5 s at most.
template <typename Condition>
bool WaitFor(Condition condition) {
    for (const auto limit = Clock::now() + std::chrono::seconds(5); Clock::now() < limit;) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return condition();
}

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
        settings.httpsPort = GetParam() ? std::optional(0) : std::nullopt;
        settings.reports = scratch_.path / "reports";
        settings.certificates = scratch_.path / "certificate";
        settings.logFile = scratch_.path / "requests.log";
        ASSERT_EQ(server_.Start(settings), "");
        address_ =
            "//127.0.0.1:" + std::to_string(GetParam() ? server_.HttpsPort() : server_.HttpPort());
    }

    httplib::Client MakeClient(bool tls, const std::string& trusted) {
        httplib::Client client((tls ? "https:" : "http:") + address_);
        client.set_ca_cert_path(CertificatePemFile(scratch_.path / trusted));
        client.set_read_timeout(5);
        return client;
    }

    /// `received` counts the bytes of the body as they come; the client leaves behind `enough`.
    Answer Get(const std::string& path, std::atomic<size_t>* received = nullptr,
               size_t enough = SIZE_MAX) {
        Answer answer;
        httplib::Client client = MakeClient(GetParam(), "certificate");
        answer.whole = static_cast<bool>(client.Get(
            path,
            [&](const httplib::Response& response) {
                answer.status = response.status;
                answer.location = response.get_header_value("Location");
                return true;
            },
            [&](const char* data, size_t size) {
                answer.body.append(data, size);
                if (received != nullptr)
                    *received = answer.body.size();
                return answer.body.size() < enough;
            }));
        return answer;
    }

    int Post(const std::string& path, const std::string& body, const char* type = kJson) {
        const auto result = MakeClient(GetParam(), "certificate").Post(path, body, type);
        return result ? result->status : 0;
    }

    /// The last line of the log, from the method on.
    std::string LastLine() {
        const auto entries = server_.Log().Entries();
        const std::string line = entries.empty() ? "" : FormatLogLine(entries.back());
        const size_t scheme = line.find(GetParam() ? " https " : " http ");
        return scheme == std::string::npos ? "" : line.substr(line.find(' ', scheme + 1) + 1);
    }

    ScratchFolder scratch_;
    std::string archive_ = std::string(300'000, ' ');
    DevServer server_;
    std::string address_;
};

INSTANTIATE_TEST_SUITE_P(, ServerTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "https" : "http"; });

TEST_P(ServerTest, ServesFilesBelowItsFolder) {
    const Answer answer = Get("/a.zip?x=1");
    EXPECT_EQ(LastLine(), "GET /a.zip?x=1 200 300000");
    EXPECT_TRUE(answer.whole && answer.body == archive_);
    EXPECT_EQ(Get("/empty.json").status, 200);
    EXPECT_EQ(Get("/%2e%2e/requests.log").status, 403);
    EXPECT_EQ(Get("/b.zip").status, 404);
}

TEST_P(ServerTest, EachFaultHitsAsOftenAsToldThenTheFileComesWhole) {
    const struct {
        std::string fault, logged;
        int times, status;
        bool whole;
        size_t bytes;
        std::string location;
    } cases[] = {{R"("refuse","count":2)", "refuse 0", 2, 0, false, 0, ""},
                 {R"("redirect","to":"/b?c")", "redirect 0", 1, 302, true, 0, "/b?c"},
                 {R"("cut","after":0)", "cut 0", 1, 200, false, 0, ""},
                 {R"("cut","after":100000)", "cut 100000", 1, 200, false, 100'000, ""},
                 {R"("cut","after":300000)", "200 300000", 1, 200, true, 300'000, ""}};
    for (const auto& [fault, logged, times, status, whole, bytes, location] : cases) {
        ASSERT_EQ(Post("/_control/fault", R"({"path":"/a","fault":)" + fault + "}"), 200);
        for (int time = 0; time < times; ++time) {
            const Answer answer = Get("/a.zip");
            EXPECT_EQ(LastLine(), "GET /a.zip " + logged);
            EXPECT_EQ(answer.status, status) << fault;
            EXPECT_EQ(answer.whole, whole) << fault;
            EXPECT_TRUE(answer.body == archive_.substr(0, bytes)) << fault;
            EXPECT_EQ(answer.location, location);
        }
        EXPECT_TRUE(Get("/a.zip").body == archive_) << fault;
    }
    // Unread as the report is, the answer must arrive.
    ASSERT_EQ(Post("/_control/fault", R"({"path":"/live","fault":"500"})"), 200);
    EXPECT_EQ(Post(kReports, std::string(2'000'000, 'x')), 500);
    EXPECT_EQ(NamesIn(scratch_.path / "reports"), std::set<std::string>());
    EXPECT_EQ(Post("/_control/fault", "{}"), 400);
}

TEST_P(ServerTest, StallsUntilTheServerEnds) {
    ASSERT_EQ(Post("/_control/fault", R"({"path":"/a","fault":"stall","after":70000})"), 200);
    std::atomic<size_t> received = 0;
    auto stalled = std::async(std::launch::async, [&] { return Get("/a.zip", &received); });
    ASSERT_TRUE(WaitFor([&] { return received == 70'000; }));
    EXPECT_EQ(LastLine(), "GET /a.zip stall 70000");
    EXPECT_TRUE(Get("/a.zip").whole) << "others are not held up";
    const auto before = Clock::now();
    server_.Stop();
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(3));
    EXPECT_EQ(stalled.get().body.size(), 70'000u);
}

TEST_P(ServerTest, PacesSlowAnswersAndNoticesAClientThatLeaves) {
    for (const char* pace : {"1000000", "1"})
        ASSERT_EQ(Post("/_control/fault", R"({"path":"/a","fault":"slow","bytes_per_second":)" +
                                              std::string(pace) + "}"),
                  200);
    const auto before = Clock::now();
    EXPECT_TRUE(Get("/a.zip").body == archive_);
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(290));
    EXPECT_EQ(LastLine(), "GET /a.zip slow 300000");
    EXPECT_FALSE(Get("/a.zip", nullptr, 1).whole);
    EXPECT_TRUE(WaitFor([&] { return LastLine().starts_with("GET /a.zip client-left "); }))
        << LastLine();
}

TEST_P(ServerTest, StoresReportsAndRefusesBadOnes) {
    EXPECT_EQ(Post(kReports, R"({ "message": "%d0%a3" })"), 200);
    EXPECT_EQ(ReadFile(scratch_.path / "reports/0001.txt"), "\xd0\xa3");
    EXPECT_EQ(Post(kReports, R"({ "message": "%g0" })"), 400);
    EXPECT_EQ(Post(kReports, R"({ "message": "a" })", "multipart/form-data; boundary=x"), 400);
    EXPECT_EQ(Post(kReports, std::string(ReportInbox::kLargestBody + 1, ' ')), 413);
    EXPECT_EQ(NamesIn(scratch_.path / "reports").size(), 3u);
}

TEST_P(ServerTest, EndsTheWrongSchemeAndLogsIt) {
    std::string error;
    ASSERT_TRUE(MakeTlsContext(scratch_.path / "stranger", error)) << error;
    EXPECT_FALSE(MakeClient(!GetParam(), "stranger").Get("/a.zip"));
    const char* const expected = GetParam() ? "- - http-on-tls 0" : "- - tls-on-http 0";
    EXPECT_TRUE(WaitFor([&] { return LastLine() == expected; })) << LastLine();
    if (GetParam()) {
        EXPECT_FALSE(MakeClient(true, "stranger").Get("/a.zip"));
        EXPECT_TRUE(WaitFor([&] { return LastLine() == "- - no-request 0"; })) << LastLine();
    }
}

}  // namespace
