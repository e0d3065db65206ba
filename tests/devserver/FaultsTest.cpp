#include "Faults.h"

#include <gtest/gtest.h>

#include <string>

#include "RequestLog.h"

namespace {

FaultRule Rule(const std::string& option) {
    FaultRule rule;
    EXPECT_EQ(ParseFaultOption(option, rule), "") << option;
    return rule;
}

TEST(Faults, RefusesWhatItDoesNotUnderstand) {
    FaultRule rule;
    for (const char* option :
         {"", "path=/a", "fault=cut", "path=/a,fault=explode", "path=a,fault=cut", "path=/a,cut",
          "path=/(,fault=cut", "path=/a,fault=cut,count=0", "path=/a,fault=cut,count=-2",
          "path=/a,fault=cut,count=2x", "path=/a,fault=cut,after=-1",
          "path=/a,fault=slow,bytes_per_second=0", "path=/a,fault=redirect",
          "path=/a,fault=cut,afetr=1"})
        EXPECT_NE(ParseFaultOption(option, rule), "") << option;
    for (const char* text : {"", "{", "[]", R"({"path":"/a","fault":404})",
                             R"({"path":"/a","fault":"redirect","to":"/b\r\nX: y"})"})
        EXPECT_NE(ParseFaultJson(text, rule), "") << text;
}

TEST(Faults, AreTakenInOrderAndRunOut) {
    Faults faults;
    faults.Add(Rule("path=/a/.*\\.zip,fault=500,count=2"));
    faults.Add(Rule("path=/a/,fault=404,count=-1"));
    const std::pair<const char*, const char*> cases[] = {
        {"/b/a/x.zip", "none"}, {"/a/x.zip", "500"}, {"/a/x.zip.old", "404"},
        {"/a/y.zip", "500"},    {"/a/y.zip", "404"}, {"/a/y.zip", "404"}};
    for (const auto& [path, expected] : cases) {
        const auto rule = faults.Take(path);
        EXPECT_STREQ(rule ? FaultName(rule->kind) : "none", expected) << path;
    }
}

TEST(RequestLog, LinesSplitAtBlanksWhateverIsAsked) {
    const LogEntry entry{3, "T", "http", "GET", "/a\t\xff", 200, "cut", 5, "report 0001"};
    EXPECT_EQ(FormatLogLine(entry), "3 T http GET /a%09%ff cut 5 report 0001");
}

}  // namespace
