#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <string>
#include <vector>

#include "Faults.h"
#include "RequestLog.h"
#include "ScratchFolder.h"
#include "StaticFiles.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

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
    for (const char* option :
         {"path=/a/.*\\.zip,fault=500,count=2", "path=/a/,fault=404,count=-1"}) {
        FaultRule rule;
        EXPECT_EQ(ParseFaultOption(option, rule), "") << option;
        faults.Add(rule);
    }
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

TEST(StaticFiles, ServesWhatLiesBelowTheRootAndNothingElse) {
    const ScratchFolder scratch;
    const fs::path root = scratch.path / "root", secret = scratch.path / "secret";
    WriteFile(root / "sub/a.json", "inside");
    WriteFile(secret, "outside");
    WriteFile(scratch.path / "root2/secret", "beside");
    fs::create_symlink(secret, root / "link");
    fs::create_symlink(scratch.path, root / "up");
    fs::create_symlink("sub/a.json", root / "alias");
    fs::create_symlink(root, scratch.path / "rootlink");
    ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
    const std::map<int, std::vector<std::string>> cases = {
        {200, {"/sub/a.json", "/sub/./a.json", "/alias"}},
        {403,
         {"", "/../secret", "/sub/../../secret", "/sub/../sub/a.json", "/..\\secret", "/link",
          "/up/secret", "/up/root2/secret", std::string("/") += secret.string(),
          "/sub/a.json\0.zip"s}},
        {404, {"/", "/sub", "/missing", "/sub/a.json/", "/pipe", "/..sub"}}};
    for (const fs::path& from : {root, scratch.path / "rootlink"})
        for (const auto& [status, paths] : cases)
            for (const std::string& path : paths) {
                OpenedFile file;
                EXPECT_EQ(OpenStaticFile(from, path, file), status) << path;
            }
}

}  // namespace
