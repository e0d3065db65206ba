#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

#include "FailureNames.h"
#include "ReportInbox.h"
#include "ReportList.h"
#include "ReportText.h"
#include "ScratchFolder.h"

namespace {

using namespace std::string_literals;

std::string Message(const std::string& encoded) {
    return "{ \"message\": \"" + encoded + "\" }";
}

TEST(ReportText, DecodesWhatIsWellFormedAndSaysWhatIsNot) {
    const std::pair<std::string, std::string> cases[] = {
        {"a-_.~9", "a-_.~9"},   {"%d0%a3%20%0a%22%5c", "\xd0\xa3 \n\"\\"},
        {"%25d0", "%d0"},       {"%00x", "\0x"s},
        {"%D0%A3", "\xd0\xa3"}, {"%f4%8f%bf%bf%ed%9f%bf", "\xf4\x8f\xbf\xbf\xed\x9f\xbf"}};
    for (const auto& [encoded, expected] : cases) {
        std::string text = "earlier";
        EXPECT_EQ(DecodeReportBody(Message(encoded), text), "") << encoded;
        EXPECT_EQ(text, expected) << encoded;
    }
    const std::map<std::string, std::vector<std::string>> refused = {
        {"not a JSON object",
         {"", "null", "[\"message\"]", Message("a") + "x", "{ \"message\": \"a", Message("a\nb"),
          Message("\xff"), std::string(2'000'000, '[')}},
        {"no text \"message\"",
         {"{}", R"({"Message":"a"})", R"({"message":5})", R"({"message":{"message":"a"}})"}},
        {"bad percent sequence", {Message("%"), Message("abc%4"), Message("%4g"), Message("%+1")}},
        {"not UTF-8",
         {Message("%80"), Message("%c0%80"), Message("%e0%9f%bf"), Message("%ed%a0%80"),
          Message("%f4%90%80%80"), Message("%e2%82"), Message("%e2%82a")}}};
    for (const auto& [why, bodies] : refused)
        for (const std::string& body : bodies) {
            std::string text;
            EXPECT_EQ(DecodeReportBody(body, text), why) << body.substr(0, 60);
        }
}

TEST(ReportInbox, NumbersOnAndLeavesNothingOfWhatItCannotStore) {
    const ScratchFolder scratch;
    WriteFile(scratch.path / "0041.raw", "of an earlier run");
    WriteFile(scratch.path / "devserver.pem", "something else");
    ReportInbox inbox;
    ASSERT_TRUE(inbox.Open(scratch.path));
    EXPECT_EQ(inbox.Receive(Message("%zz"), {}).status, 400);
    const std::string body = Message("%d0%a3");
    EXPECT_EQ(inbox.Receive(body, {{"path", "/p"}, {"agent", "bad \xff byte"}}).note,
              "report 0042");
    EXPECT_EQ(ReadFile(scratch.path / "0042.raw"), body);
    EXPECT_EQ(ReadFile(scratch.path / "0042.txt"), "\xd0\xa3");
    const auto facts = nlohmann::json::parse(ReadFile(scratch.path / "0042.json"));
    EXPECT_EQ(facts["path"], "/p");
    EXPECT_EQ(facts["bodyBytes"], body.size());
    EXPECT_EQ(facts["textBytes"], 2);
    // The folder turns bad while the server runs: a folder stands where the text is to go.
    std::filesystem::create_directories(scratch.path / "0043.txt/occupied");
    const auto names = NamesIn(scratch.path);
    EXPECT_EQ(inbox.Receive(Message("a"), {}).status, 500);
    EXPECT_EQ(NamesIn(scratch.path), names);
}

// The program's own words, as its source has them, all have an English name.
TEST(FailureNames, KnowTheProgramsWords) {
    const std::string source = ReadFile(PROGRESS_SOURCE);
    // The others are its log's and the separators.
    const std::regex russian("L\"([\xC0-\xFF][^\"]*)\"");
    const std::sregex_iterator first(source.begin(), source.end(), russian), end;
    EXPECT_EQ(std::distance(first, end), 3 + 25 + 17);
    for (auto found = first; found != end; ++found) {
        const std::string text = (*found)[1];
        EXPECT_TRUE(IsOperation(text) || NameStage(text) != text || NameFailure(text) != text)
            << text;
    }
}

std::string Report(const std::string& head, const std::string& versions = "1.2.3") {
    return head + " // local time: 2026-11-22 23:00:01.002\n // os: windows\n // vers: lm ver: " +
           versions +
           "\n // installer log:\n2026 [INFO]  [Main]  // os: a trap\n // vers: lm ver: 9.9.9\n";
}

TEST(ReportList, TellsWhatFailedWhereAndHowOften) {
    const ScratchFolder scratch;
    const std::string failed =
        "Установка : Загрузка файлов... : Ошибка загрузки файла : http://a : ";
    const std::pair<const char*, std::string> files[] = {
        {"0002.txt", Report(failed + "[2] x\r\n", "1.2.3 old lm: 1.2.2, installer ver: 1.0.0.0")},
        {"0010.txt", Report(failed + "[5] x\r\n", ", installer ver: 1.0.0.0")},
        {"0003.txt", Report(failed + "[2] y\r\n", " old lm: 1.2.2")},
        {"0004.txt", Report("Установка : Распаковка файлов... : Ошибка распаковки файлов : C:\\a "
                            ": [2] b.zip : C:\\x : [5] Отказано в доступе.\r\n")},
        {"0005.txt", Report("Удаление : Новая стадия... : Новая ошибка : ")},
        {"0006.txt", Report("Отчет по процессам : ")},
        {"0007.txt", Report("Error of CreateMainWindow : [1400] Bad.\r\n")},
        {"0008.txt", Report("Установка : [x] : [12a] b : [] : ")},
        {"0009.txt", "no report\nat all"},
        {"0011.txt", ""},
        {"0002.json", R"({"time": "2026-11-22T22:27:16.043Z"})"},
        {"0003.json", "broken"},
        {"notes.txt", "x"},
        {"0004.raw", "x"},
        {"2.txt", "a copy under another name"},
        {"0012.txt/file", "x"}};
    for (const auto& [name, text] : files)
        WriteFile(scratch.path / name, text);
    for (const char* pipe : {"0001.txt", "0005.json"})
        ASSERT_EQ(mkfifo((scratch.path / pipe).c_str(), 0600), 0);
    std::vector<StoredReport> reports;
    ASSERT_TRUE(ListReports(scratch.path, reports));
    ASSERT_EQ(reports.size(), 10u);
    const std::string table = std::regex_replace(FormatTable(reports), std::regex("  +"), "|");
    EXPECT_EQ(table, R"(no|received (UTC)|operation|stage|failure|code|old > new|system|equal
2|2026-11-22 22:27:16|install|fetching the archive|1 download failed|2|1.2.2 > 1.2.3|windows|2
3|-|install|fetching the archive|1 download failed|2|1.2.2 > -|windows|2
4|-|install|unpacking|7 unpacking failed|5|- > 1.2.3|windows|1
5|-|uninstall|Новая стадия...|Новая ошибка|-|- > 1.2.3|windows|1
6|-|-|-|list of open files|-|- > 1.2.3|windows|1
7|-|-|-|window not made|1400|- > 1.2.3|windows|1
8|-|install|[x]|[12a] b|-|- > 1.2.3|windows|1
9|-|-|-|no report|-|- > -|-|1
10|-|install|fetching the archive|1 download failed|5|- > -|windows|1
11|-|-|-|-|-|- > -|-|1
)");
    EXPECT_EQ(reports[2].facts.details, (std::vector<std::string>{"C:\\a", "[2] b.zip", "C:\\x"}));
    EXPECT_EQ(reports[6].facts.details, std::vector<std::string>{"[]"});
    EXPECT_EQ(reports[2].facts.codeText, "Отказано в доступе.");
    EXPECT_EQ(reports[0].facts.installerVersion, "1.0.0.0");
}

// A report comes from anybody; it must not reach the terminal with its escape sequences.
TEST(ReportList, HostileTextStaysInItsCell) {
    EXPECT_EQ(WithoutControls("a\x1b[2J\x7f\xc2\x9b\xc2\xa0\r\n\tb"), "a?[2J??\xc2\xa0\n\tb");
    StoredReport report;
    report.facts.failure = "\x1b]0;x\n\t" + std::string(5000, 'z');
    report.facts.stage = std::string(5000, '\x80');
    for (int i = 0; i < 60; ++i)
        report.facts.system += "й";
    const std::string table = FormatTable({report});
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 2);
    EXPECT_EQ(table.find('\x1b'), std::string::npos);
    EXPECT_NE(table.find("?]0;x  zzz"), std::string::npos);
    EXPECT_NE(table.find("йй...  0\n"), std::string::npos);
    EXPECT_EQ(table.find("\xd0..."), std::string::npos);
}

}  // namespace
