#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

using Update = Scenario;

namespace {

const std::wstring filesFolder = places.temp + L"\\new-files";
const std::wstring archive = places.temp + L"\\new-files.zip";

std::wstring BringFolder() {
    CopyTree(SampleFolder(L"full"), filesFolder);
    return L"--update " + filesFolder;
}

std::wstring BringArchive(const wchar_t* name = L"app.zip") {
    CopyFileW((GetPrepared().folder + L"\\www\\" + name).c_str(), archive.c_str(), FALSE);
    return L"--update " + archive;
}

// The starter keeps a record, and the former version's folder stays.
State AfterUpdate(const std::string& formerFolder = "1.0.0",
                  const std::wstring& sample = L"former") {
    State expected = InstalledState("1.2.3");
    expected["roaming\\"] = folderMark;
    expected["roaming\\starter.log"] = sampleRecord;
    AddTree(expected, "app\\" + formerFolder + "\\", SampleFolder(sample));
    return expected;
}

// The application starts without being waited for.
void ExpectRestart(std::size_t calls) {
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(appExeName).size() == 5; }));
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.2.3"));
    const Lines starts = StarterCalls();
    ASSERT_EQ(starts.size(), calls);
    EXPECT_TRUE(starts.back().starts_with("\"" + Narrow(places.starter) +
                                          "\"  --update-app --app-start-time="))
        << starts.back();
}

}  // namespace

TEST_F(Update, PutsTheFilesInPlaceWhateverIsInstalled) {
    const struct {
        const char* installed;
        bool isArchive;
        const wchar_t* option;
    } cases[] = {{"1.0.0", true, L""},
                 {"2.0.0", false, L""},
                 {nullptr, true, L" --console"},
                 {"1.0.0", false, L" --console"}};
    for (const auto& [installed, isArchive, option] : cases) {
        SCOPED_TRACE(std::string(installed ? installed : "nothing") + Narrow(option));
        SetUp();
        if (installed != nullptr) {
            PutInstallation(installed);
        } else {
            CreateDirectoryW(places.app.c_str(), nullptr);
        }
        EXPECT_EQ(RunSetup((isArchive ? BringArchive() : BringFolder()) + option), 0);
        ExpectRestart(1);
        EXPECT_STATE(installed ? AfterUpdate(installed) : AfterUpdate("1.2.3", L"full"));
        EXPECT_EQ(SeenRequests(), Lines());
    }
}

TEST_F(Update, ToTheSameVersionKeepsTheFormerFolder) {
    PutInstallation("1.2.3");
    EXPECT_EQ(RunSetup(BringFolder()), 0);
    ExpectRestart(1);
    EXPECT_STATE(AfterUpdate("1.2.3.BKP"));
    // Once more: the former folder of the first time goes first.
    WriteFileText(places.app + L"\\1.2.3.BKP\\old.txt", "of the first time");
    EndPrograms();
    EXPECT_EQ(RunSetup(BringArchive()), 0);
    ExpectRestart(2);
    EXPECT_STATE(AfterUpdate("1.2.3.BKP", L"full"));
}

// As the application does it: with the uninstaller in its own folder, while it runs.
TEST_F(Update, ClosesTheRunningApplicationLast) {
    PutInstallation("1.0.0");
    EXPECT_EQ(SetupRun(SetupCall{.program = places.starter}).WaitForEnd(), 0);
    EXPECT_TRUE(WaitUntil([] { return RunningPrograms(appExeName).size() == 5; }));
    const std::vector<std::wstring> former = RunningPrograms(appExeName);
    SetupRun run({.arguments = BringArchive(),
                  .interceptions = {HoldCall({"CreateProcessW", L"--kill-app"}),
                                    HoldCall({"CreateFileW", L"package.json"})},
                  .program = places.app + L"\\1.0.0\\uninstall.exe"});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(1));
    // It is out of sight, and nobody can close it.
    const HWND window = WaitForStatus(run.process, "TextUpdating");
    RECT place{};
    GetWindowRect(window, &place);
    EXPECT_EQ(place.left, -1000);
    EXPECT_EQ(place.top, -1000);
    ExpectCloseIgnored(window);
    run.interceptions.Release(1);
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    EXPECT_EQ(RunningPrograms(appExeName), former);
    EXPECT_STATE(AfterUpdate());
    run.interceptions.Release(0);
    run.Finish();
    ExpectRestart(3);
    EXPECT_EQ(StarterCalls()[1], "\"" + Narrow(places.starter) + "\" --kill-app");
    EXPECT_STATE(AfterUpdate());
}

TEST_F(Update, ThatCannotBeginTellsTheServerAlone) {
    const std::string noFiles =
        "Обновление : Процесс обновления приложения... : Не указаны файлы обновления или они не "
        "существуют";
    const std::pair<const wchar_t*, std::string> cases[] = {
        {L"--console --update", ""},
        {L"--update", noFiles},
        {L"--update C:\\missing.zip", noFiles + " : C:\\missing.zip"},
        {L"--update --console", noFiles + " : --console"},
    };
    PutInstallation("1.0.0");
    const State before = TakeState();
    for (const auto& [arguments, head] : cases) {
        SCOPED_TRACE(Narrow(arguments));
        ResetServer();
        EXPECT_EQ(RunInWindow({.arguments = arguments}), head);
        EXPECT_STATE(head.empty() ? before : WithReport(before));
    }
}

TEST_F(Update, FromFilesThatAreNoApplicationChangesNothing) {
    const std::string noManifest =
        "Обновление : Проверка манифеста... : Ошибка обработки файла манифеста";
    PutInstallation("1.0.0");
    State expected = WithReport(TakeState());
    WriteFileText(filesFolder + L"\\readme.txt", "no application");
    EXPECT_EQ(RunInWindow({.arguments = L"--update " + filesFolder}), noManifest);
    expected["temp\\new-files\\"] = folderMark;
    expected["temp\\new-files\\readme.txt"] = "no application";
    expected["temp\\new-files\\uninstall.exe"] = DescribeFile(GetPrepared().setup);
    EXPECT_STATE(expected);

    // An archive that cannot be unpacked counts as an empty one, and is used up.
    ResetServer();
    EXPECT_EQ(RunInWindow({.arguments = BringArchive(L"damaged.zip")}), noManifest);
    State left = TakeState();
    Drop(left, "temp\\Quorvane.TEMP");
    EXPECT_EQ(Differences(expected, left), "");
}
