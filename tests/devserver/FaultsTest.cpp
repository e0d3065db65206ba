#include <gtest/gtest.h>

#include <string>

#include "Faults.h"
#include "RequestLog.h"

namespace {

FaultRule Rule(const std::string& option) {
    FaultRule rule;
    EXPECT_EQ(ParseFaultOption(option, rule), "") << option;
    return rule;
}

TEST(Faults, ReadsBothForms) {
    FaultRule rule;
    ASSERT_EQ(ParseFaultJson(R"({"path":"/a","fault":"cut","count":-1,"after":7})", rule), "");
    EXPECT_EQ(rule.kind, FaultKind::cut);
    EXPECT_EQ(rule.count, -1);
    EXPECT_EQ(rule.after, 7u);
    rule = Rule("path=/b,fault=slow,bytes_per_second=9");
    EXPECT_EQ(rule.kind, FaultKind::slow);
    EXPECT_EQ(rule.count, 1);
    EXPECT_EQ(rule.bytesPerSecond, 9u);
    EXPECT_EQ(Rule("path=/b,fault=redirect,to=/c?x=1").to, "/c?x=1");
    EXPECT_EQ(Rule("path=/b,fault=404").kind, FaultKind::notFound);
}

TEST(Faults, RefusesWhatItDoesNotUnderstand) {
    const char* const options[] = {"",
                                   "path=/a",
                                   "fault=cut",
                                   "path=/a,fault=explode",
                                   "path=a,fault=cut",
                                   "path=/a,cut",
                                   "path=/(,fault=cut",
                                   "path=/a,fault=cut,count=0",
                                   "path=/a,fault=cut,count=-2",
                                   "path=/a,fault=cut,count=2x",
                                   "path=/a,fault=cut,count=1.5",
                                   "path=/a,fault=cut,after=-1",
                                   "path=/a,fault=slow,bytes_per_second=0",
                                   "path=/a,fault=redirect",
                                   "path=/a,fault=cut,afetr=1"};
    for (const char* option : options) {
        FaultRule rule;
        EXPECT_NE(ParseFaultOption(option, rule), "") << option;
    }
    const char* const texts[] = {"", "{", "[]", R"({"path":"/a","fault":404})",
                                 R"({"path":"/a","fault":"redirect","to":"/b\r\nX: y"})"};
    for (const char* text : texts) {
        FaultRule rule;
        EXPECT_NE(ParseFaultJson(text, rule), "") << text;
    }
}

TEST(Faults, AreTakenInOrderAndRunOut) {
    Faults faults;
    faults.Add(Rule("path=/a/.*\\.zip,fault=500,count=2"));
    faults.Add(Rule("path=/a/,fault=404,count=-1"));
    const auto take = [&](const std::string& path) {
        const auto rule = faults.Take(path);
        return std::string(rule ? FaultName(rule->kind) : "none");
    };
    EXPECT_EQ(take("/b/a/x.zip"), "none");
    EXPECT_EQ(take("/a/x.zip"), "500");
    EXPECT_EQ(take("/a/x.zip.old"), "404");
    EXPECT_EQ(take("/a/y.zip"), "500");
    EXPECT_EQ(take("/a/y.zip"), "404");
    EXPECT_EQ(take("/a/y.zip"), "404");
    faults.Clear();
    EXPECT_EQ(take("/a/y.zip"), "none");
}

TEST(RequestLog, LinesSplitAtBlanksWhateverIsAsked) {
    LogEntry entry{3, "T", "http", "GET", "/a\t\xff", 200, "", 5, ""};
    EXPECT_EQ(FormatLogLine(entry), "3 T http GET /a%09%ff 200 5");
    entry.fault = "cut";
    entry.note = "report 0001";
    EXPECT_EQ(FormatLogLine(entry), "3 T http GET /a%09%ff cut 5 report 0001");
    EXPECT_EQ(FormatLogLine({1, "T", "https", "", "", 0, "", 0, ""}), "1 T https - - - 0");
}

}  // namespace
