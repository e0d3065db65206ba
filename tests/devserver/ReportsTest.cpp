#include <gtest/gtest.h>

#include <string>

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
        {"%D0%A3", "\xd0\xa3"},
        {"%25d0", "%d0"},
        {"%00x", "\0x"s},
        {"%f4%8f%bf%bf%ed%9f%bf", "\xf4\x8f\xbf\xbf\xed\x9f\xbf"},
    };
    for (const auto& [encoded, expected] : cases) {
        std::string text = "earlier";
        EXPECT_EQ(DecodeReportBody(Message(encoded), text), "") << encoded;
        EXPECT_EQ(text, expected) << encoded;
    }
}

TEST(ReportText, RefusesWhatIsNot) {
    const std::string deep(2'000'000, '[');
    const std::pair<std::string, std::string> cases[] = {
        {"", "not a JSON object"},
        {"null", "not a JSON object"},
        {"[\"message\"]", "not a JSON object"},
        {Message("a") + "x", "not a JSON object"},
        {"{ \"message\": \"a", "not a JSON object"},
        {Message("a\nb"), "not a JSON object"},
        {Message("\xff"), "not a JSON object"},
        {deep, "not a JSON object"},
        {"{}", "no text \"message\""},
        {"{ \"Message\": \"a\" }", "no text \"message\""},
        {"{ \"message\": 5 }", "no text \"message\""},
        {"{ \"message\": { \"message\": \"a\" } }", "no text \"message\""},
        {Message("%"), "bad percent sequence"},
        {Message("abc%4"), "bad percent sequence"},
        {Message("%4g"), "bad percent sequence"},
        {Message("%+1"), "bad percent sequence"},
        {Message("%80"), "not UTF-8"},
        {Message("%c0%80"), "not UTF-8"},
        {Message("%e0%9f%bf"), "not UTF-8"},
        {Message("%ed%a0%80"), "not UTF-8"},
        {Message("%f4%90%80%80"), "not UTF-8"},
        {Message("%f5%80%80%80"), "not UTF-8"},
        {Message("%e2%82"), "not UTF-8"},
        {Message("%e2%82a"), "not UTF-8"},
    };
    for (const auto& [body, why] : cases) {
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
