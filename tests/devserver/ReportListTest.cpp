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

struct Expected {
    std::string operation, stage, failure, code;
    std::vector<std::string> details;
};

TEST(ReportFacts, HeadOfTheReport) {
    const std::pair<std::string, Expected> cases[] = {
        {"Установка : Распаковка файлов... : Ошибка распаковки файлов : C:\\a : [2] b.zip : C:\\x"
         " : [5] Отказано в доступе.\r\n",
         {"install", "unpacking", "7 unpacking failed", "5", {"C:\\a", "[2] b.zip", "C:\\x"}}},
        {"Обновление : Распаковка файлов... : Ошибка распаковки файлов : [0] OK\r\n",
         {"update", "unpacking", "7 unpacking failed", "0", {}}},
        {"Удаление : Новая стадия... : Новая ошибка : ",
         {"uninstall", "Новая стадия...", "Новая ошибка", "", {}}},
        {"Отчет по процессам : ", {"", "", "list of open files", "", {}}},
        {"Error of CreateMainWindow : [1400] Bad.\r\n", {"", "", "window not made", "1400", {}}},
        {" : ", {"", "", "worker thread not started", "", {}}},
        {"Установка : [x] : [12a] b : [] : ", {"install", "[x]", "[12a] b", "", {"[]"}}},
        {"word", {"", "", "word", "", {}}},
    };
    for (const auto& [head, expected] : cases) {
        const ReportFacts facts = ReadReportFacts(Report(head));
        EXPECT_EQ(facts.operation, expected.operation) << head;
        EXPECT_EQ(facts.stage, expected.stage) << head;
        EXPECT_EQ(facts.failure, expected.failure) << head;
        EXPECT_EQ(facts.code, expected.code) << head;
        EXPECT_EQ(facts.details, expected.details) << head;
        EXPECT_EQ(facts.system, "windows 10.0.0 64-bit") << head;
        EXPECT_EQ(facts.localTime, "2026-11-22 23:00:01.002") << head;
    }
    EXPECT_EQ(ReadReportFacts("no report\nat all").failure, "no report");
    EXPECT_EQ(ReadReportFacts("").failure, "");
}

TEST(ReportFacts, Versions) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"1.2.3 old lm: 1.2.2, installer ver: 1.0.0.0", {"1.2.2", "1.2.3", "1.0.0.0"}},
        {"1.2.3, installer ver: 1.0.0.0", {"", "1.2.3", "1.0.0.0"}},
        {", installer ver: 1.0.0.0", {"", "", "1.0.0.0"}},
        {" old lm: 1.2.2", {"1.2.2", "", ""}},
        {"", {"", "", ""}},
    };
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
    store("0010.txt", Report(failed + "[5] x\r\n", "1.2.4 old lm: 1.2.3, installer ver: 1"));
    store("0003.txt", Report(failed + "[2] y\r\n"));
    store("0002.json", R"({"time": "2026-11-22T22:27:16.043Z"})");
    store("0003.json", "broken");
    store("notes.txt", "x");
    store("0004.raw", "x");
    std::vector<StoredReport> reports;
    ASSERT_TRUE(ListReports(scratch.path, reports));
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(FormatTable(reports),
              "no  received (UTC)       operation  stage                 failure            code  "
              "old > new      system                 equal\n"
              "2   2026-11-22 22:27:16  install    fetching the archive  1 download failed  2     "
              "- > 1.2.3      windows 10.0.0 64-bit  2\n"
              "3   -                    install    fetching the archive  1 download failed  2     "
              "- > 1.2.3      windows 10.0.0 64-bit  2\n"
              "10  -                    install    fetching the archive  1 download failed  5     "
              "1.2.3 > 1.2.4  windows 10.0.0 64-bit  1\n");
    EXPECT_EQ(ToJson(reports[2])["details"], nlohmann::json({"http://a"}));
    std::string text;
    EXPECT_TRUE(ReadReport(scratch.path, 3, text));
    EXPECT_EQ(text, Report(failed + "[2] y\r\n"));
    EXPECT_FALSE(ReadReport(scratch.path, 4, text));
    EXPECT_FALSE(ReadReport(scratch.path, 0, text));
    EXPECT_FALSE(ListReports(scratch.path / "missing", reports));
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
