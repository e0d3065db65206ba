#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

// What the user sees when the operation has ended, and what the server learns.
using WindowEnd = Scenario;

namespace {

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
void BringFiles() {
    CopyTree(SampleFolder(L"full"), places.temp + L"\\update");
}

const Buttons ok = {IDOK}, okOrCancel = {IDOK, IDCANCEL};
constexpr BoxAnswer confirm = {"TextConfirmUninstall", IDYES};
constexpr BoxAnswer notRemoved = {"TextUninstallFailed", IDOK};
constexpr BoxAnswer offerFull = {"TextOfferFullInstaller", IDCANCEL};
const InterceptionRow noFolder = FailCall({"SHGetFolderPathW", L"", 2, 1}, 3);
const InterceptionRow noPauses = SkipCall({"Sleep", L""});
const std::wstring update = L"--update " + places.temp + L"\\update";

struct End {
    SetupCall call;
    void (*arrange)();
    std::vector<BoxAnswer> boxes;
    Buttons lastButtons;  // of the last box
    Lines heads;          // of the reports
};

const Lines notLoaded = {"Установка : Загрузка файлов... : Ошибка загрузки файла"};
const std::string noPaths = " : Ошибка инициализации путей к файлам";
const Lines notInstalled = {"Установка : Загрузка файла манифеста..." + noPaths};
const Lines notUninstalled = {"Удаление : Выполнение скрипта..." + noPaths};
const Lines notUpdated = {"Обновление : Процесс обновления приложения..." + noPaths};

const End ends[] = {
    {{L""}, Offer, {}, {}, {}},
    {{L""}, OfferTheInstalled, {{"TextUpToDateContinue", IDCANCEL}}, okOrCancel, {}},
    {{L"", {noPauses}}, OfferAndRefuse, {offerFull}, okOrCancel, notLoaded},
    {{L"", {noFolder}}, Nothing, {{"TextInstallFailed", IDOK}}, ok, notInstalled},
    {{L"--uninstall", {noPauses}}, Nothing, {confirm, {"TextRemoved", IDOK}}, ok, {}},
    {{L"--uninstall", {noFolder}}, Nothing, {confirm, notRemoved}, ok, notUninstalled},
    {{update}, BringFiles, {}, {}, {}},
    {{update, {noFolder}}, BringFiles, {}, {}, notUpdated},
};

}  // namespace

TEST_F(WindowEnd, ShowsAtMostOneBoxAndReportsFailuresBeforeIt) {
    for (const End& end : ends) {
        SCOPED_TRACE(Narrow(end.call.arguments) + (end.heads.empty() ? "" : end.heads[0]));
        SetUp();
        end.arrange();
        // An uninstall deletes its own file.
        SetupCall call = UninstallCopy(end.call.interceptions);
        call.arguments = end.call.arguments;
        SetupRun run(call);
        for (const BoxAnswer& answer : end.boxes) {
            if (&answer == &end.boxes.back()) {
                EXPECT_EQ(WaitForBox(run.process).buttons, end.lastButtons);
                EXPECT_EQ(ReportHeads(), end.heads);
            }
            run.Answer(answer.text, answer.button);
        }
        run.Finish();
        EXPECT_EQ(ReportHeads(), end.heads);
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
