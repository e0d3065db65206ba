#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ReportInbox.h"
#include "ReportText.h"
#include "ScratchFolder.h"

namespace {

using namespace std::string_literals;

std::string Message(const std::string& encoded) {
    return "{ \"message\": \"" + encoded + "\" }";
}

TEST(ReportText, DecodesWhatIsWellFormed) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"a-_.~9", "a-_.~9"},
        {"%d0%a3%20%0a%22%5c", "\xd0\xa3 \n\"\\"},
        {"%25d0", "%d0"},
        {"%00x", "\0x"s},
        {"%D0%A3", "\xd0\xa3"},
        {"%f4%8f%bf%bf%ed%9f%bf", "\xf4\x8f\xbf\xbf\xed\x9f\xbf"}};
    for (const auto& [encoded, expected] : cases) {
        std::string text = "earlier";
        EXPECT_EQ(DecodeReportBody(Message(encoded), text), "") << encoded;
        EXPECT_EQ(text, expected) << encoded;
    }
}

TEST(ReportText, RefusesWhatIsNot) {
    const std::string deep(2'000'000, '[');
    const std::map<std::string, std::vector<std::string>> cases = {
        {"not a JSON object",
         {"", "null", "[\"message\"]", Message("a") + "x", "{ \"message\": \"a", Message("a\nb"),
          Message("\xff"), deep}},
        {"no text \"message\"",
         {"{}", R"({"Message":"a"})", R"({"message":5})", R"({"message":{"message":"a"}})"}},
        {"bad percent sequence", {Message("%"), Message("abc%4"), Message("%4g"), Message("%+1")}},
        {"not UTF-8",
         {Message("%80"), Message("%c0%80"), Message("%e0%9f%bf"), Message("%ed%a0%80"),
          Message("%f4%90%80%80"), Message("%e2%82"), Message("%e2%82a")}}};
    for (const auto& [why, bodies] : cases)
        for (const std::string& body : bodies) {
            std::string text;
            EXPECT_EQ(DecodeReportBody(body, text), why) << body.substr(0, 60);
        }
}

TEST(ReportInbox, NumbersOnAndStoresAllThreeFiles) {
    const ScratchFolder scratch;
    WriteFile(scratch.path / "0041.raw", "of an earlier run");
    WriteFile(scratch.path / "devserver.pem", "something else");
    ReportInbox inbox;
    ASSERT_TRUE(inbox.Open(scratch.path));
    const std::string body = Message("%d0%a3");
    const auto answer = inbox.Receive(body, {{"path", "/p"}, {"agent", "bad \xff byte"}});
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.note, "report 0042");
    EXPECT_EQ(inbox.Receive(Message("x"), {}).note, "report 0043");
    EXPECT_EQ(ReadFile(scratch.path / "0042.raw"), body);
    EXPECT_EQ(ReadFile(scratch.path / "0042.txt"), "\xd0\xa3");
    const auto facts = nlohmann::json::parse(ReadFile(scratch.path / "0042.json"));
    EXPECT_EQ(facts["path"], "/p");
    EXPECT_EQ(facts["bodyBytes"], body.size());
    EXPECT_EQ(facts["textBytes"], 2);
}

TEST(ReportInbox, RefusedReportsLeaveNothingAndTakeNoNumber) {
    const ScratchFolder scratch;
    ReportInbox inbox;
    ASSERT_TRUE(inbox.Open(scratch.path / "made"));
    std::string largest = Message("");
    largest.append(ReportInbox::kLargestBody - largest.size(), ' ');
    EXPECT_EQ(inbox.Receive(largest + ' ', {}).status, 413);
    EXPECT_EQ(inbox.Receive(Message("%zz"), {}).status, 400);
    EXPECT_EQ(NamesIn(scratch.path / "made"), std::set<std::string>());
    EXPECT_EQ(inbox.Receive(largest, {}).note, "report 0001");
    // The folder turns bad while the server runs: a folder stands where the text is to go.
    std::filesystem::create_directories(scratch.path / "made/0002.txt/occupied");
    EXPECT_EQ(inbox.Receive(Message("a"), {}).status, 500);
    EXPECT_EQ(NamesIn(scratch.path / "made"),
              (std::set<std::string>{"0001.raw", "0001.json", "0001.txt", "0002.txt"}));
}

}  // namespace
