// Two products of two teams on one machine: what one does shows nowhere in the other.
#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

const Places& first = GetPlaces();
const Places& second = GetAllPlaces().at(1);
const std::wstring& folder = GetPrepared().folder;

class SecondProduct : public Scenario {
  protected:
    // The first product is installed, and its application runs.
    void SetUp() override {
        Scenario::SetUp();
        PublishVersion("1.2.3");
        ASSERT_EQ(RunSetup(L"--console"), 0);
        ASSERT_TRUE(WaitForFive(first));
        firstState = TakeState();
        firstProcesses = ProcessesOf(first);
        firstRequests = SeenRequests();
    }

    static bool WaitForFive(const Places& places) {
        return WaitUntil([&] { return ProcessesOf(places).size() == 5; });
    }

    void InstallSecond() {
        SetupRun run({.arguments = L"--console", .program = secondSetup});
        ASSERT_EQ(run.WaitForEnd(), 0);
        ASSERT_TRUE(WaitForFive(second));
    }

    // Nothing of the first has changed, and of the second there is this. The record of the pin tool
    // is the only file that both write.
    void ExpectFirstAnd(State others) {
        const std::string pinRecord = "temp\\syspin.log";
        State expected = firstState, actual = TakeState();
        others.insert(expected.begin(), expected.end());
        others.erase(pinRecord);
        actual.erase(pinRecord);
        std::erase_if(actual,
                      [](const auto& entry) { return entry.first.starts_with("temp\\CMD"); });
        EXPECT_EQ(Differences(others, actual), "");
        EXPECT_EQ(ProcessesOf(first), firstProcesses);
        EXPECT_EQ(SeenRequests(), firstRequests);
    }

    const std::wstring secondSetup = folder + L"\\second-setup.exe";
    State firstState;
    std::vector<DWORD> firstProcesses;
    Lines firstRequests;
};

State SecondState(const std::string& version) {
    return StateAfterInstall(version, L"second-" + Widen(version), second);
}

// An update leaves the former version's folder as it was.
State WithFolder(State state, const State& former, const std::string& place) {
    for (const auto& entry : former) {
        if (entry.first.starts_with(place)) {
            state.insert(entry);
        }
    }
    return state;
}

// As the user sees it: in the second product's own words.
void AnswerSecond(HANDLE process, const char* text, int button) {
    const Box box = WaitForBox(process);
    ASSERT_TRUE(box) << "no box " << text;
    EXPECT_EQ(Narrow(box.caption), Narrow(SecondProductText("TextTitle")));
    EXPECT_EQ(Narrow(box.texts.back()), Narrow(SecondProductText(text)));
    EXPECT_TRUE(PressButton(box, button));
}

void Uninstall(const Places& product, void (*answer)(HANDLE, const char*, int)) {
    const std::wstring copyName = product.name + L".uninstall.exe";
    EXPECT_EQ(SetupRun(SetupCall{.program = product.uninstaller}).WaitForEnd(), 0);
    OtherProgram copy(copyName);
    answer(copy.process, "TextConfirmUninstall", IDYES);
    answer(copy.process, "TextRemoved", IDOK);
    EXPECT_EQ(copy.WaitForEnd(), 0);
    EXPECT_TRUE(WaitUntil([&] { return !Exists(first.temp + L"\\" + copyName); }));
    WaitUntilNoneRuns(L"cmd.exe");
}

}  // namespace

TEST_F(SecondProduct, InstallsInItsOwnWindowWhileTheFirstOneInstallsToo) {
    PublishVersion("1.3.0");
    SetupRun newer(L"--console", {HoldCall({"CreateProcessW", L"--kill-app"})});
    ASSERT_TRUE(newer.interceptions.WaitUntilHeld(0));
    SetupRun run(
        {.interceptions = {HoldCall({"CreateProcessW", L"syspin.exe"})}, .program = secondSetup});
    ASSERT_TRUE(run.interceptions.WaitUntilHeld(0));
    const HWND window = WaitForWindow(run.process, second.name + L"InstallerWindow");
    EXPECT_EQ(Narrow(WindowText(window)), Narrow(SecondProductText("TextTitle")));
    RECT area{};
    GetClientRect(window, &area);
    // Its size stands at the same place in every picture of this format, the high bytes first.
    const std::string picture = ReadFileText(folder + L"\\second-product\\background.png");
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(picture.at(at)); };
    EXPECT_EQ(area.right, byte(18) * 256 + byte(19));
    EXPECT_EQ(area.bottom, byte(22) * 256 + byte(23));
    run.interceptions.Release(0);
    EXPECT_EQ(run.WaitForEnd(), 0);
    EXPECT_TRUE(WaitForFive(second));
    const std::vector<DWORD> secondProcesses = ProcessesOf(second);
    EXPECT_EQ(ProcessesOf(first), firstProcesses);
    newer.interceptions.Release(0);
    EXPECT_EQ(newer.WaitForEnd(), 0);
    EXPECT_EQ(RunningPrograms(appExeName), FiveProcessesOf(L"1.3.0"));
    EXPECT_EQ(ProcessesOf(second), secondProcesses);
    firstState = WithFolder(StateAfterInstall("1.3.0"), firstState, "app\\1.2.3\\");
    firstProcesses = ProcessesOf(first);
    firstRequests = SeenRequests();
    ExpectFirstAnd(SecondState("1.0.0"));
}

TEST_F(SecondProduct, TellsItsOwnServerOfAFailure) {
    const std::wstring manifest = folder + L"\\second-dist\\download\\win\\manifest.json";
    ASSERT_TRUE(MoveFileW(manifest.c_str(), (manifest + L".away").c_str()));
    SetupRun run(SetupCall{.program = secondSetup});
    AnswerSecond(run.process, "TextInstallFailed", IDOK);
    EXPECT_EQ(run.WaitForEnd(), 0);
    ASSERT_TRUE(MoveFileW((manifest + L".away").c_str(), manifest.c_str()));
    ExpectFirstAnd({{"temp\\.product-1-error-report.txt", savedReport}});
    State reports;
    AddTree(reports, "", folder + L"\\second-reports");
    EXPECT_GT(reports.size(), 1U) << "no report at the second product's server";
    EXPECT_TRUE(ReportHeads().empty());
}

TEST_F(SecondProduct, UpdatesAndGoesWithoutTouchingTheFirst) {
    InstallSecond();
    ExpectFirstAnd(SecondState("1.0.0"));
    const State former = TakeState();
    const std::wstring archive = first.temp + L"\\second-update.zip";
    ASSERT_TRUE(CopyFileW((folder + L"\\second-update.zip").c_str(), archive.c_str(), FALSE));
    SetupRun update(
        {.arguments = L"--update " + archive, .program = second.app + L"\\1.0.0\\uninstall.exe"});
    EXPECT_EQ(update.WaitForEnd(), 0);
    const std::vector<std::wstring> running(5, second.app + L"\\1.1.0\\" + second.name + L".exe");
    EXPECT_TRUE(WaitUntil([&] { return RunningPrograms(second.name + L".exe") == running; }));
    ExpectFirstAnd(WithFolder(SecondState("1.1.0"), former, "second app\\1.0.0\\"));
    Uninstall(second, AnswerSecond);
    ExpectFirstAnd({});
    EXPECT_TRUE(ProcessesOf(second).empty());
}

TEST_F(SecondProduct, StaysWhenTheFirstGoes) {
    InstallSecond();
    const std::vector<DWORD> processes = ProcessesOf(second);
    Uninstall(first, AnswerBox);
    firstState.clear();
    firstProcesses.clear();
    ExpectFirstAnd(SecondState("1.0.0"));
    EXPECT_EQ(ProcessesOf(second), processes);
}
