#include <windows.h>

#include <algorithm>
#include <map>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

// Each trigger's report as the server received it.
using Report = Scenario;

namespace {

using Pieces = std::map<std::string, std::string>;

// What comes first is the "head"; the other pieces have their names in the report.
Pieces TakeApart(const std::string& report) {
    Pieces parts;
    std::string last = "head";
    std::size_t start = 0;
    for (const char* name : {"local time", "os", "cpu", "mem", "vers", "env", "cmd", "curDir",
                             "isAdmin", "installer log", "processes"}) {
        const std::string mark = std::string(start == 0 ? "" : "\n") + " // " + name + ":";
        const std::size_t end = report.find(mark, start);
        EXPECT_NE(end, std::string::npos) << "no piece " << name << " in " << report;
        parts[last] = report.substr(start, end - start);
        start = std::min(report.size(), end + mark.size() + 1);
        last = name;
    }
    parts[last] = report.substr(start);
    return parts;
}

std::string SystemText(DWORD error) {
    wchar_t text[500] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                   text, 500, nullptr);
    return "[" + std::to_string(error) + "] " + Narrow(text);
}

// An empty program is the setup program.
void ExpectFacts(const Pieces& parts, std::wstring program) {
    program = program.empty() ? GetPrepared().setup : program;
    EXPECT_TRUE(parts.at("os").starts_with("windows 10.0.0 64-bit")) << parts.at("os");
    EXPECT_TRUE(parts.at("cpu").starts_with("num of cpu: ")) << parts.at("cpu");
    EXPECT_TRUE(parts.at("mem").starts_with("total: ")) << parts.at("mem");
    EXPECT_NE(parts.at("vers").find(", installer ver: 1.0."), std::string::npos)
        << parts.at("vers");
    EXPECT_TRUE(parts.at("env").starts_with("\n      TEMP: " + Narrow(places.temp) + "\\\n"));
    EXPECT_EQ(parts.at("cmd"), Narrow(program));
    EXPECT_EQ(parts.at("curDir").find(Narrow(places.temp)), 0U) << parts.at("curDir");
    EXPECT_EQ(parts.at("isAdmin"), "1");
    const std::string exeName = Narrow(program.substr(program.rfind(L'\\') + 1));
    EXPECT_NE(parts.at("processes").find(exeName), std::string::npos) << parts.at("processes");
}

struct Trigger {
    SetupCall call;
    std::vector<BoxAnswer> boxes;
    int exitCode;
    Lines heads;         // of the reports, with the system's text of the error
    const char* logged;  // something in the last report's log
};

const std::wstring& copy = places.uninstallCopy;
constexpr BoxAnswer confirm = {"TextConfirmUninstall", IDYES};
constexpr BoxAnswer failed = {"TextInstallFailed", IDOK};
constexpr BoxAnswer notRemoved = {"TextUninstallFailed", IDOK};
constexpr char noWindow[] = "CreateMainWindow: error of CreateWindow: ";
const InterceptionRow unknownFolder = FailCall({"SHGetFolderPathW", L"", 2, 1}, 3);
const InterceptionRow identityFails = FailCall({"SetCurrentProcessExplicitAppUserModelID", L""}, 0);
const InterceptionRow windowFails = FailCall({"CreateWindowExW", L""}, ERROR_NOT_ENOUGH_MEMORY);
const InterceptionRow threadFails = FailCall({"CreateThread", L""}, ERROR_NOT_ENOUGH_MEMORY);
const std::vector<InterceptionRow> copyFails = {
    FailCall({"CopyFileW", L"Quorvane.uninstall.exe"}, ERROR_DISK_FULL),
    FailCall({"SHFileOperationW", L"Quorvane.uninstall.exe"}, ERROR_DISK_FULL),
    SkipCall({"Sleep", L"100"})};

const Lines noPaths = {
    "Установка : Загрузка файла манифеста... : Ошибка инициализации путей к файлам : "};
const Lines noCopy = {"Ошибка копирования и запуска копии uninstall.exe : " +
                      SystemText(ERROR_DISK_FULL)};
const Lines windowHeads = {"Error of CreateMainWindow : " + SystemText(ERROR_NOT_ENOUGH_MEMORY)};
const Lines threadHeads = {" : ", "Error of CreateMainWindow : "};

const Trigger triggers[] = {
    {{L"", {unknownFolder}}, {failed}, 0, noPaths, "DO: Установка : Загрузка файла манифеста..."},
    {{L"--generate-report --update x"}, {}, 0, {"Отчет по процессам : "}, "Opened files in ["},
    {{L"", {identityFails}}, {}, -1, {"Ошибка установки AUMID : "}, "SetAumIdForProcess"},
    {{L"", copyFails, places.uninstaller}, {}, -1, noCopy, "CopyAndRestartItself"},
    {{L"", {windowFails}}, {}, -1, windowHeads, noWindow},
    {{L"--uninstall", {windowFails}, copy}, {confirm}, -1, windowHeads, noWindow},
    {{L"", {threadFails}}, {failed}, -1, threadHeads, noWindow},
    {{L"--uninstall", {threadFails}, copy}, {confirm, notRemoved}, -1, threadHeads, noWindow},
    {{L"--update", {threadFails}}, {}, -1, threadHeads, noWindow},
};

}  // namespace

TEST_F(Report, OfEachTriggerReachesTheServerWhole) {
    for (const Trigger& trigger : triggers) {
        SCOPED_TRACE(Narrow(trigger.call.arguments) + " " + trigger.logged);
        SetUp();
        PutInstallation("1.2.3");
        UninstallCopy();
        SetupRun run(trigger.call);
        for (const BoxAnswer& answer : trigger.boxes) {
            run.Answer(answer.text, answer.button);
        }
        EXPECT_EQ(run.WaitForEnd(), trigger.exitCode);
        const Lines reports = ReceivedReports();
        ASSERT_EQ(reports.size(), trigger.heads.size());
        for (std::size_t i = 0; i < reports.size(); ++i) {
            const Pieces parts = TakeApart(reports[i]);
            EXPECT_TRUE(parts.at("head").starts_with(trigger.heads[i])) << parts.at("head");
            ExpectFacts(parts, trigger.call.program);
        }
        const std::string log = TakeApart(reports.back()).at("installer log");
        EXPECT_NE(log.find(trigger.logged), std::string::npos) << log;
        // The script that deletes the copy.
        WaitUntilNoneRuns(L"cmd.exe");
    }
}

TEST_F(Report, OnProcessesListsTheFilesOfBothFolders) {
    PutInstallation("1.2.3");
    const std::wstring folder = places.temp + L"\\update";
    WriteFileText(folder + L"\\new.bin", "new");
    const HeldOpen installed(places.app + L"\\1.2.3\\syspin.exe");
    const HeldOpen brought(folder + L"\\new.bin");
    EXPECT_EQ(RunSetup(L"--generate-report \"--update\" \"" + folder + L"\""), 0);
    const Lines reports = ReceivedReports();
    ASSERT_EQ(reports.size(), 1U);
    ExpectInOrder(TakeApart(reports[0]).at("installer log"),
                  {"Quorvane]\n", "\\1.2.3\\syspin.exe]\n", "\\update]\n", "\\update\\new.bin]\n"});
}
