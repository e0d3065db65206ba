#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FailureNames.h"
#include "ReportList.h"
#include "ScratchFolder.h"

namespace {

std::string Report(const std::string& head, const std::string& versions = "1.2.3") {
    return head + " // local time: 2026-11-22 23:00:01.002\n // os: windows 10.0.0 64-bit" +
           "\n // cpu: 8\n // mem: 1\n // vers: lm ver: " + versions +
           "\n // env: \n      TEMP: C:\\T\\\n // cmd: C:\\s.exe\n // curDir: C:\\T\n // isAdmin: "
           "0" +
           "\n // installer log:\n2026 [INFO]  [Main]  // os: a trap\n // vers: lm ver: 9.9.9\n" +
           "\n // processes:\n0 4 System ()\n";
}

TEST(ReportFacts, HeadOfTheReport) {
    // Operation, stage, failure, code, then the details.
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"Установка : Распаковка файлов... : Ошибка распаковки файлов : C:\\a : [2] b.zip : C:\\x"
         " : [5] Отказано в доступе.\r\n",
         {"install", "unpacking", "7 unpacking failed", "5", "C:\\a", "[2] b.zip", "C:\\x"}},
        {"Удаление : Новая стадия... : Новая ошибка : ",
         {"uninstall", "Новая стадия...", "Новая ошибка", ""}},
        {"Отчет по процессам : ", {"", "", "list of open files", ""}},
        {"Error of CreateMainWindow : [1400] Bad.\r\n", {"", "", "window not made", "1400"}},
        {"Установка : [x] : [12a] b : [] : ", {"install", "[x]", "[12a] b", "", "[]"}},
        {"word", {"", "", "word", ""}}};
    for (const auto& [head, expected] : cases) {
        const ReportFacts facts = ReadReportFacts(Report(head));
        std::vector<std::string> read = {facts.operation, facts.stage, facts.failure, facts.code};
        read.insert(read.end(), facts.details.begin(), facts.details.end());
        EXPECT_EQ(read, expected) << head;
        EXPECT_EQ(facts.system, "windows 10.0.0 64-bit") << head;
    }
    EXPECT_EQ(ReadReportFacts("no report\nat all").failure, "no report");
    EXPECT_EQ(ReadReportFacts("").failure, "");
}

TEST(ReportFacts, Versions) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"1.2.3 old lm: 1.2.2, installer ver: 1.0.0.0", {"1.2.2", "1.2.3", "1.0.0.0"}},
        {", installer ver: 1.0.0.0", {"", "", "1.0.0.0"}},
        {" old lm: 1.2.2", {"1.2.2", "", ""}}};
    for (const auto& [line, expected] : cases) {
        const ReportFacts facts = ReadReportFacts(Report("x : ", line));
        EXPECT_EQ((std::vector{facts.oldVersion, facts.newVersion, facts.installerVersion}),
                  expected)
            << line;
    }
}

// The program's own words, as its source has them, all have an English name.
TEST(FailureNames, KnowTheProgramsWords) {
    const std::string source = ReadFile(PROGRESS_SOURCE);
    unsigned texts = 0;
    for (size_t at = 0; (at = source.find("L\"", at)) != std::string::npos;) {
        const size_t end = source.find('"', at += 2);
        const std::string text = source.substr(at, end - at);
        at = end + 1;
        // The others are its log's and the separators.
        if (text.empty() || (static_cast<unsigned char>(text[0]) & 0xC0) != 0xC0)
            continue;
        ++texts;
        EXPECT_TRUE(IsOperation(text) || NameStage(text) != text || NameFailure(text) != text)
            << text;
    }
    EXPECT_EQ(texts, 3u + 25 + 17);
}

TEST(ReportList, CountsEqualFailuresAndIgnoresOtherFiles) {
    const ScratchFolder scratch;
    const auto store = [&](const char* name, const std::string& text) {
        WriteFile(scratch.path / name, text);
    };
    const std::string failed =
        "Установка : Загрузка файлов... : Ошибка загрузки файла : http://a : ";
    store("0002.txt", Report(failed + "[2] x\r\n"));
    store("0010.txt", Report(failed + "[5] x\r\n"));
    store("0003.txt", Report(failed + "[2] y\r\n"));
    store("0002.json", R"({"time": "2026-11-22T22:27:16.043Z"})");
    store("0003.json", "broken");
    store("notes.txt", "x");
    store("0004.raw", "x");
    std::vector<StoredReport> reports;
    ASSERT_TRUE(ListReports(scratch.path, reports));
    std::string read;
    for (const StoredReport& report : reports)
        read += std::to_string(report.number) + " (" + report.received + ") code " +
                report.facts.code + " equals " + std::to_string(report.equals) + '\n';
    EXPECT_EQ(read,
              "2 (2026-11-22T22:27:16.043Z) code 2 equals 2\n3 () code 2 equals 2\n"
              "10 () code 5 equals 1\n");
}

// A report comes from anybody; it must not reach the terminal with its escape sequences.
TEST(ReportList, HostileTextStaysInItsCell) {
    EXPECT_EQ(WithoutControls("a\x1b[2J\x7f\xc2\x9b\xc2\xa0\r\n\tb"), "a?[2J??\xc2\xa0\n\tb");
    StoredReport report;
    report.number = 1;
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
