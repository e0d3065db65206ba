#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

// Each trigger's report as the server received it.
class Report : public Scenario {};

const Places& places = GetPlaces();

// What the pieces begin with, in this order; the first one's beginning is the trigger's.
constexpr const char* pieces[] = {" // local time: ",  "\n // os: ",
                                  "\n // cpu: ",       "\n // mem: ",
                                  "\n // vers: ",      "\n // env: ",
                                  "\n // cmd: ",       "\n // curDir: ",
                                  "\n // isAdmin: ",   "\n // installer log:\n",
                                  "\n // processes:\n"};

struct Pieces {
    std::string head;
    std::map<std::string, std::string> texts;  // by the piece's name
};

Pieces TakeApart(const std::string& report) {
    Pieces parts;
    std::size_t end = report.find(pieces[0]);
    EXPECT_NE(end, std::string::npos) << report;
    parts.head = report.substr(0, end);
    for (std::size_t i = 0; i < std::size(pieces) && end != std::string::npos; ++i) {
        const std::string mark = pieces[i];
        const std::size_t start = end + mark.size();
        const bool isLast = i + 1 == std::size(pieces);
        end = isLast ? report.size() : report.find(pieces[i + 1], start);
        EXPECT_NE(end, std::string::npos) << "no piece " << pieces[i + 1];
        const std::size_t name = mark.find("// ") + 3;
        parts.texts[mark.substr(name, mark.find(':') - name)] = report.substr(start, end - start);
    }
    return parts;
}

std::string SystemText(DWORD error) {
    wchar_t text[500] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                   text, 500, nullptr);
    return "[" + std::to_string(error) + "] " + Narrow(text);
}

// The latest report is also in the temporary folder, as UTF-16 without a mark.
void ExpectSaved(const std::string& report) {
    const std::wstring text = Widen(report);
    EXPECT_EQ(
        ReadFileText(places.temp + L"\\.quorvane-error-report.txt"),
        std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)));
}

// A request's body, as it came.
void ExpectEncodedBody() {
    const std::wstring folder = GetPrepared().folder + L"\\reports\\";
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"*.raw").c_str(), &entry);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    const std::string body = ReadFileText(folder + entry.cFileName);
    const std::string begin = "{ \"message\": \"";
    ASSERT_TRUE(body.starts_with(begin)) << body.substr(0, 40);
    ASSERT_TRUE(body.ends_with("\" }"));
    const std::string text = body.substr(begin.size(), body.size() - begin.size() - 3);
    EXPECT_EQ(text.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"
                                     "ABCDEFGHIJKLMNOPQRSTUVWXYZ-_.~%"),
              std::string::npos);
    EXPECT_NE(text.find("%0a%20%2f%2f%20os%3a%20windows"), std::string::npos);
}

void ExpectFacts(const Pieces& parts, const std::wstring& program) {
    const auto& texts = parts.texts;
    EXPECT_TRUE(texts.at("os").starts_with("windows 10.0.0 64-bit")) << texts.at("os");
    EXPECT_TRUE(texts.at("cpu").starts_with("num of cpu: ")) << texts.at("cpu");
    EXPECT_TRUE(texts.at("mem").starts_with("total: ")) << texts.at("mem");
    EXPECT_NE(texts.at("vers").find(", installer ver: 1.0."), std::string::npos)
        << texts.at("vers");
    EXPECT_TRUE(texts.at("env").starts_with("\n      TEMP: " + Narrow(places.temp) + "\\\n"));
    EXPECT_EQ(texts.at("cmd"), Narrow(program));
    EXPECT_EQ(texts.at("curDir").find(Narrow(places.temp)), 0U) << texts.at("curDir");
    EXPECT_EQ(texts.at("isAdmin"), "1");
    const std::string exeName = Narrow(program.substr(program.rfind(L'\\') + 1));
    EXPECT_NE(texts.at("processes").find(exeName), std::string::npos) << texts.at("processes");
}

struct Trigger {
    const char* name;
    const wchar_t* program;  // null: the setup program
    const wchar_t* arguments;
    std::vector<InterceptionRow> faults;
    std::vector<BoxAnswer> boxes;
    int exitCode;
    std::vector<std::string> heads;  // of the reports, with the system's text of the error
    const char* logged;              // something in the last report's log
};

const std::wstring copyPath = places.temp + L"\\Quorvane.uninstall.exe";
const std::string noThread = " : " + SystemText(ERROR_NOT_ENOUGH_MEMORY);
const InterceptionRow threadFails = FailCall({"CreateThread", L""}, ERROR_NOT_ENOUGH_MEMORY);
const InterceptionRow unknownFolder = FailCall({"SHGetFolderPathW", L"", 2, 1}, 3);

const Trigger triggers[] = {
    {"install",
     nullptr,
     L"",
     {unknownFolder},
     {{"TextInstallFailed", IDOK}},
     0,
     {"Установка : Загрузка файла манифеста... : Ошибка инициализации путей к файлам : "},
     "DO: Установка : Загрузка файла манифеста..."},
    {"process report",
     nullptr,
     L"--generate-report --update x",
     {},
     {},
     0,
     {"Отчет по процессам : "},
     "Opened files in ["},
    {"application id",
     nullptr,
     L"",
     {FailCall({"SetCurrentProcessExplicitAppUserModelID", L""}, 0)},
     {},
     -1,
     {"Ошибка установки AUMID : "},
     "SetAumIdForProcess"},
    {"copy of the uninstaller",
     places.uninstaller.c_str(),
     L"",
     {FailCall({"CopyFileW", L"Quorvane.uninstall.exe"}, ERROR_DISK_FULL),
      FailCall({"SHFileOperationW", L"Quorvane.uninstall.exe"}, ERROR_DISK_FULL),
      SkipCall({"Sleep", L"100"})},
     {},
     -1,
     {"Ошибка копирования и запуска копии uninstall.exe : " + SystemText(ERROR_DISK_FULL)},
     "CopyAndRestartItself"},
    {"window of an install",
     nullptr,
     L"",
     {FailCall({"CreateWindowExW", L""}, ERROR_NOT_ENOUGH_MEMORY)},
     {},
     -1,
     {"Error of CreateMainWindow" + noThread},
     "CreateMainWindow: error of CreateWindow: "},
    {"window of an uninstall",
     copyPath.c_str(),
     L"--uninstall",
     {FailCall({"CreateWindowExW", L""}, ERROR_NOT_ENOUGH_MEMORY)},
     {{"TextConfirmUninstall", IDYES}},
     -1,
     {"Error of CreateMainWindow" + noThread},
     "CreateMainWindow: error of CreateWindow: "},
    {"thread of an install",
     nullptr,
     L"",
     {threadFails},
     {{"TextInstallFailed", IDOK}},
     -1,
     {" : ", "Error of CreateMainWindow : "},
     "CreateMainWindow: error of CreateWindow: "},
    {"thread of an uninstall",
     copyPath.c_str(),
     L"--uninstall",
     {threadFails},
     {{"TextConfirmUninstall", IDYES}, {"TextUninstallFailed", IDOK}},
     -1,
     {" : ", "Error of CreateMainWindow : "},
     "CreateMainWindow: error of CreateWindow: "},
    {"thread of an update",
     nullptr,
     L"--update",
     {threadFails},
     {},
     -1,
     {" : ", "Error of CreateMainWindow : "},
     "CreateMainWindow: error of CreateWindow: "},
};

}  // namespace

TEST_F(Report, OfEachTriggerReachesTheServerWhole) {
    for (const Trigger& trigger : triggers) {
        SCOPED_TRACE(trigger.name);
        WipeMachine();
        ResetServer();
        PutInstallation("1.2.3");
        CopyFileW(GetPrepared().setup.c_str(), copyPath.c_str(), FALSE);
        const std::wstring program = trigger.program ? trigger.program : GetPrepared().setup;
        SetupRun run(
            {.arguments = trigger.arguments, .interceptions = trigger.faults, .program = program});
        for (const BoxAnswer& answer : trigger.boxes) {
            run.Answer(answer.text, answer.button);
        }
        EXPECT_EQ(run.WaitForEnd(), trigger.exitCode);
        const Lines reports = ReceivedReports();
        ASSERT_EQ(reports.size(), trigger.heads.size());
        for (std::size_t i = 0; i < reports.size(); ++i) {
            const Pieces parts = TakeApart(reports[i]);
            EXPECT_TRUE(parts.head.starts_with(trigger.heads[i])) << parts.head;
            ExpectFacts(parts, program);
        }
        const std::string log = TakeApart(reports.back()).texts.at("installer log");
        EXPECT_NE(log.find(trigger.logged), std::string::npos) << log;
        ExpectSaved(reports.back());
        ExpectEncodedBody();
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
    const std::string log = TakeApart(reports[0]).texts.at("installer log");
    std::size_t at = 0;
    for (const char* part :
         {"Quorvane]\n", "\\1.2.3\\syspin.exe]\n", "\\update]\n", "\\update\\new.bin]\n"}) {
        at = log.find(part, at);
        ASSERT_NE(at, std::string::npos) << part << log;
    }
}
