#include <windows.h>

#include <memory>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

class Update : public Scenario {};

const Places& places = GetPlaces();
const std::wstring filesFolder = places.temp + L"\\new-files";
const std::wstring archive = places.temp + L"\\new-files.zip";
const std::wstring versionFolder = places.app + L"\\1.2.3";

std::wstring BringFolder() {
    CopyTree(SampleFolder(L"full"), filesFolder);
    return L"--update " + filesFolder;
}

std::wstring BringArchive(const wchar_t* name = L"app.zip") {
    CopyFileW((GetPrepared().folder + L"\\www\\" + name).c_str(), archive.c_str(), FALSE);
    return L"--update " + archive;
}

// The starter keeps a record, and the application starts without being waited for.
State AfterUpdate(const State& before) {
    State expected = InstalledState("1.2.3");
    expected["roaming\\"] = folderMark;
    expected["roaming\\starter.log"] = sampleRecord;
    for (const auto& [place, content] : before) {
        if (place.starts_with("app\\") && !place.starts_with("app\\1.2.3\\") &&
            !expected.contains(place)) {
            expected[place] = content;
        }
    }
    return expected;
}

void ExpectRestart(std::size_t calls) {
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(appExeName).size() == 5; }));
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
    const Lines starts = StarterCalls();
    ASSERT_EQ(starts.size(), calls);
    EXPECT_TRUE(starts.back().starts_with("\"" + Narrow(places.starter) +
                                          "\"  --update-app --app-start-time="))
        << starts.back();
}

std::string Failure(const std::string& stage, const std::string& error) {
    return "Обновление : " + stage + " : " + error;
}

}  // namespace

TEST_F(Update, PutsTheFilesInPlaceWhateverIsInstalled) {
    const struct {
        const char* installed;
        bool isArchive;
        const wchar_t* option;
    } cases[] = {{"1.0.0", true, L""},
                 {"1.0.0", false, L""},
                 {"2.0.0", false, L""},
                 {nullptr, true, L" --console"},
                 {"1.0.0", false, L" --console"}};
    for (const auto& [installed, isArchive, option] : cases) {
        SCOPED_TRACE(std::string(installed ? installed : "nothing") + Narrow(option));
        WipeMachine();
        if (installed != nullptr) {
            PutInstallation(installed);
        } else {
            CreateDirectoryW(places.app.c_str(), nullptr);
        }
        const State before = TakeState();
        EXPECT_EQ(RunSetup((isArchive ? BringArchive() : BringFolder()) + option), 0);
        ExpectRestart(1);
        EXPECT_STATE(AfterUpdate(before));
        EXPECT_EQ(SeenRequests(), Lines());
    }
}

TEST_F(Update, ToTheSameVersionKeepsTheFormerFolder) {
    PutInstallation("1.2.3");
    State former;
    AddTree(former, "app\\1.2.3.BKP\\", versionFolder);
    State expected = AfterUpdate(former);
    EXPECT_EQ(RunSetup(BringFolder()), 0);
    ExpectRestart(1);
    EXPECT_STATE(expected);
    // Once more: the former folder of the first time goes first.
    WriteFileText(places.app + L"\\1.2.3.BKP\\old.txt", "of the first time");
    former.clear();
    AddTree(former, "app\\1.2.3.BKP\\", SampleFolder(L"full"));
    EndPrograms();
    EXPECT_EQ(RunSetup(BringArchive()), 0);
    ExpectRestart(2);
    EXPECT_STATE(AfterUpdate(former));
}

// As the application does it: with the uninstaller in its own folder, while it runs.
TEST_F(Update, ClosesTheRunningApplicationLast) {
    PutInstallation("1.0.0");
    EXPECT_EQ(SetupRun(SetupCall{.program = places.starter}).WaitForEnd(), 0);
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(appExeName).size() == 5; }));
    const std::vector<std::wstring> former = RunningPrograms(appExeName);
    State expected = AfterUpdate(TakeState());
    SetupRun run({.arguments = BringArchive(),
                  .interceptions = {HoldCall({"CreateProcessW", L"--kill-app"}),
                                    HoldCall({"CreateFileW", L"package.json"})},
                  .program = places.app + L"\\1.0.0\\uninstall.exe"});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(1));
    // It is out of sight.
    const HWND window = WaitForWindow(run.process, windowClassName);
    EXPECT_TRUE(WaitUntil([&] {
        const std::vector<std::wstring> labels = LabelTexts(window);
        return !labels.empty() && labels.back() == ProductText("TextUpdating");
    }));
    RECT place{};
    GetWindowRect(window, &place);
    EXPECT_EQ(place.left, -1000);
    EXPECT_EQ(place.top, -1000);
    // Nobody can close it.
    DWORD_PTR answer = 0;
    EXPECT_NE(SendMessageTimeoutW(window, WM_CLOSE, 0, 0, SMTO_NORMAL, 5000, &answer), 0);
    EXPECT_EQ(answer, 1U);
    EXPECT_TRUE(IsWindow(window));
    run.interceptions.Release(1);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    EXPECT_EQ(RunningPrograms(appExeName), former);
    EXPECT_STATE(expected);
    run.interceptions.Release(0);
    EXPECT_EQ(run.WaitForEnd(), 0);
    ExpectRestart(3);
    EXPECT_EQ(StarterCalls()[1], "\"" + Narrow(places.starter) + "\" --kill-app");
    EXPECT_STATE(expected);
}

TEST_F(Update, ThatCannotBeginTellsTheServerAlone) {
    const std::string begins = "Процесс обновления приложения...";
    const std::string noFiles = "Не указаны файлы обновления или они не существуют";
    const struct {
        std::wstring arguments;
        std::string head;
    } cases[] = {
        {L"--update", Failure(begins, noFiles)},
        {L"--update C:\\missing.zip", Failure(begins, noFiles + " : C:\\missing.zip")},
        {L"--update --console", Failure(begins, noFiles + " : --console")},
        {L"--console --update", ""},
    };
    PutInstallation("1.0.0");
    State expected = TakeState();
    for (const auto& [arguments, head] : cases) {
        SCOPED_TRACE(Narrow(arguments));
        ResetServer();
        DeleteFileW((places.temp + L"\\.quorvane-error-report.txt").c_str());
        EXPECT_EQ(RunInWindow({.arguments = arguments}, {}), head);
        State left = expected;
        if (!head.empty()) {
            left[savedReportPlace] = savedReport;
        }
        EXPECT_STATE(left);
    }
}

TEST_F(Update, FromFilesThatAreNoApplicationChangesNothing) {
    PutInstallation("1.0.0");
    State expected = TakeState();
    WriteFileText(filesFolder + L"\\readme.txt", "no application");
    EXPECT_EQ(RunInWindow({.arguments = L"--update " + filesFolder}, {}),
              Failure("Проверка манифеста...", "Ошибка обработки файла манифеста"));
    expected[savedReportPlace] = savedReport;
    expected["temp\\new-files\\"] = folderMark;
    expected["temp\\new-files\\readme.txt"] = "no application";
    expected["temp\\new-files\\uninstall.exe"] = DescribeFile(GetPrepared().setup);
    EXPECT_STATE(expected);

    // An archive that cannot be unpacked counts as an empty one, and is used up.
    ResetServer();
    EXPECT_EQ(RunInWindow({.arguments = BringArchive(L"damaged.zip")}, {}),
              Failure("Проверка манифеста...", "Ошибка обработки файла манифеста"));
    EXPECT_FALSE(Exists(archive));
    State left = TakeState();
    Drop(left, "temp\\Quorvane.TEMP");
    EXPECT_EQ(Differences(expected, left), "");
}

TEST_F(Update, ThatFailsLaterBringsTheFormerStateBack) {
    struct Fault {
        std::wstring held;
        std::vector<InterceptionRow> rows;
        std::string head;
        bool isStarterNew;
    };
    const std::string place = "Установка приложения...";
    const std::string copies = "Ошибка копирования файлов в каталог программы : ";
    const auto copyFailure = [&](const std::wstring& name) {
        return Failure(place, copies + Narrow(versionFolder + L"\\" + name + L" : " + places.app +
                                              L"\\" + name));
    };
    const InterceptionRow noPauses = SkipCall({"Sleep", L"100"});
    const Fault faults[] = {
        {places.starter, {noPauses}, copyFailure(L"QuorvaneStarter.exe"), false},
        {places.uninstaller, {noPauses}, copyFailure(L"uninstall.exe"), true},
        {L"",
         {FailCall({"WriteFile", L"", 1, 1}, ERROR_DISK_FULL)},
         Failure(place,
                 "Ошибка сохранения текущей версии приложения : " + Narrow(places.versionFile)),
         true},
        {L"",
         {FailCall({"RegCreateKeyExW", L"Uninstall\\{"}, ERROR_ACCESS_DENIED)},
         Failure("Обновление ключей реестра...", "Ошибка операций работы с реестром Windows"),
         true},
    };
    for (const char* installed : {"1.0.0", "1.2.3"}) {
        for (const Fault& fault : faults) {
            SCOPED_TRACE(installed + fault.head);
            WipeMachine();
            ResetServer();
            PutInstallation(installed);
            State expected = TakeState();
            const std::wstring arguments = BringFolder();
            auto held = fault.held.empty() ? nullptr : std::make_unique<HeldOpen>(fault.held);
            EXPECT_EQ(RunInWindow({.arguments = arguments, .interceptions = fault.rows}, {}),
                      fault.head);
            held.reset();
            if (std::string(installed) == "1.0.0") {
                AddTree(expected, "app\\1.2.3\\", SampleFolder(L"full"));
            }
            expected[savedReportPlace] = savedReport;
            EXPECT_STATE(expected);
        }
    }
}

// The window is out of sight, its question is not.
TEST_F(Update, AsksAboutABlockedFolder) {
    PutInstallation("1.2.3");
    State expected = TakeState();
    const std::wstring arguments = BringFolder();
    const std::vector<InterceptionRow> blocked = {
        FailCall({"MoveFileExW", filesFolder + L" > "}, ERROR_SHARING_VIOLATION),
        FailCall({"SHFileOperationW", L"move " + filesFolder + L" > "}, ERROR_ACCESS_DENIED),
        SkipCall({"Sleep", L"100"})};
    EXPECT_EQ(RunInWindow({.arguments = arguments, .interceptions = blocked},
                          {{"TextAccessBlocked", IDRETRY}, {"TextAccessBlocked", IDCANCEL}}),
              Failure("Установка приложения...", "Ошибка переноса каталога программы : " +
                                                     Narrow(filesFolder + L" : " + versionFolder)));
    WaitUntilNoneRuns(L"setup.exe");
    AddTree(expected, "temp\\new-files\\", SampleFolder(L"full"));
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}
