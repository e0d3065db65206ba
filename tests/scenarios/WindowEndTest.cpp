#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

// What the user sees when the operation has ended, and what the server learns.
class WindowEnd : public Scenario {};

const Places& places = GetPlaces();

struct End {
    const char* name;
    const wchar_t* arguments;
    void (*arrange)();
    std::vector<BoxAnswer> boxes;
    std::vector<int> lastButtons;  // of the last box
    std::string head;              // of the report; empty when none is sent
    std::vector<InterceptionRow> interceptions{};
};

void Nothing() {}
void Offer() {
    PublishVersion("1.2.3");
}
void OfferTheInstalled() {
    Offer();
    PutInstallation("1.2.3");
}
void OfferAndRefuse() {
    Offer();
    AddFault("/app.zip", "refuse", -1);
}
void MakeUpdateFolder() {
    CopyTree(SampleFolder(L"full"), places.temp + L"\\update");
}

const InterceptionRow unknownFolder = FailCall({"SHGetFolderPathW", L"", 2, 1}, 3);
const InterceptionRow noPauses = SkipCall({"Sleep", L""});

const std::wstring updateArguments = L"--update " + places.temp + L"\\update";

const End ends[] = {
    {"install", L"", Offer, {}, {}, ""},
    {"install declined",
     L"",
     OfferTheInstalled,
     {{"TextUpToDateContinue", IDCANCEL}},
     {IDOK, IDCANCEL},
     ""},
    {"download, full installer declined",
     L"",
     OfferAndRefuse,
     {{"TextOfferFullInstaller", IDCANCEL}},
     {IDOK, IDCANCEL},
     "Установка : Загрузка файлов... : Ошибка загрузки файла",
     {noPauses}},
    {"install with another error",
     L"",
     Nothing,
     {{"TextInstallFailed", IDOK}},
     {IDOK},
     "Установка : Загрузка файла манифеста... : Ошибка инициализации путей к файлам",
     {unknownFolder}},
    {"uninstall",
     L"--uninstall",
     Nothing,
     {{"TextConfirmUninstall", IDYES}, {"TextRemoved", IDOK}},
     {IDOK},
     "",
     {noPauses}},
    {"uninstall with an error",
     L"--uninstall",
     Nothing,
     {{"TextConfirmUninstall", IDYES}, {"TextUninstallFailed", IDOK}},
     {IDOK},
     "Удаление : Выполнение скрипта... : Ошибка инициализации путей к файлам",
     {unknownFolder}},
    {"update", updateArguments.c_str(), MakeUpdateFolder, {}, {}, ""},
    {"update with an error",
     updateArguments.c_str(),
     MakeUpdateFolder,
     {},
     {},
     "Обновление : Процесс обновления приложения... : Ошибка инициализации путей к файлам",
     {unknownFolder}},
};

}  // namespace

TEST_F(WindowEnd, ShowsAtMostOneBoxAndReportsFailuresBeforeIt) {
    // An uninstall deletes its own file.
    const std::wstring program = places.temp + L"\\Quorvane.uninstall.exe";
    for (const End& end : ends) {
        SCOPED_TRACE(end.name);
        WipeMachine();
        ResetServer();
        end.arrange();
        CopyFileW(GetPrepared().setup.c_str(), program.c_str(), FALSE);
        SetupRun run(
            {.arguments = end.arguments, .interceptions = end.interceptions, .program = program});
        const Lines heads = end.head.empty() ? Lines() : Lines{end.head};
        for (const BoxAnswer& answer : end.boxes) {
            if (&answer == &end.boxes.back()) {
                EXPECT_EQ(WaitForBox(run.process).buttons, end.lastButtons);
                EXPECT_EQ(ReportHeads(), heads);
            }
            run.Answer(answer.text, answer.button);
        }
        EXPECT_EQ(run.WaitForEnd(), 0);
        EXPECT_EQ(ReportHeads(), heads);
        WaitUntilNoneRuns(L"cmd.exe");
    }
}

TEST_F(WindowEnd, OpensTheFullInstallersAddressInTheBrowser) {
    // The pin tool records what it is started with.
    const std::wstring command = L"\"" + SampleFolder(L"full") + L"\\syspin.exe\" \"%1\"";
    ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\http\\shell\\open\\command",
                              nullptr, REG_SZ, command.c_str(),
                              static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
    OfferAndRefuse();
    EXPECT_EQ(RunInWindow({.interceptions = {noPauses}}, {{"TextOfferFullInstaller", IDOK}}),
              "Установка : Загрузка файлов... : Ошибка загрузки файла");
    const std::wstring record = places.temp + L"\\syspin.log";
    const std::string address = ServerUrl("api/v1/service/offlineinstaller?app=quorvane&arch=x64");
    EXPECT_TRUE(WaitUntil([&] { return ReadFileText(record).ends_with("\n"); }));
    const std::string line = ReadFileText(record);
    EXPECT_NE(line.find(" \"" + address + "\"\n"), std::string::npos) << line;
}
