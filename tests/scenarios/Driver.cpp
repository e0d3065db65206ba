#include <windows.h>

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

#include "scenarios/Expectation.h"

namespace {

using Buttons = std::vector<int>;

// What each box is like, whatever the run.
const struct KnownBox {
    const char* text;
    Buttons buttons;  // as they stand on the screen
    bool isOnWindow;  // of a run that has a window
    bool tellsFailure;
} knownBoxes[] = {
    {"TextUpToDateContinue", {IDOK, IDCANCEL}, false, false},
    {"TextAccessBlocked", {IDRETRY, IDCANCEL}, true, false},
    {"TextConfirmCancel", {IDYES, IDNO}, true, false},
    {"TextConfirmUninstall", {IDYES, IDNO}, false, false},
    {"TextRemoved", {IDOK}, true, false},
    {"TextInstallFailed", {IDOK}, true, true},
    {"TextUninstallFailed", {IDOK}, true, true},
    {"TextOfferFullInstaller", {IDOK, IDCANCEL}, true, true},
};

void SetVariables(const ScenarioRow& row, bool isSet) {
    for (const std::string& line : row.environment) {
        const std::size_t at = line.find('=');
        const std::wstring value = Widen(ExpandNames(line.substr(at + 1), GetPlaces(row.product)));
        SetEnvironmentVariableW(Widen(line.substr(0, at)).c_str(), isSet ? value.c_str() : nullptr);
    }
}

// All that is in the places of a State.
void WipeMachine() {
    EndPrograms();
    ChangeMachine({"-temp\\", "-menu\\", "temp\\", "menu\\"});
    for (std::size_t i = 0; i < CountProducts(); ++i) {
        ChangeMachine({"-app\\", "-roaming\\"}, GetPlaces(i));
        RegDeleteTreeW(HKEY_CURRENT_USER, PathOf("entry", GetPlaces(i)).c_str());
    }
    ASSERT_EQ(Differences({}, TakeState()), "");
}

void Hold(Stage& stage, const Lines& held, DWORD sharing = 0) {
    for (const std::string& place : held) {
        stage.holders.emplace_back(PathOf(place, stage.places), sharing);
    }
}

void Prepare(Stage& stage) {
    const ScenarioRow& row = stage.row;
    const Places& places = stage.places;
    if (!row.installed.empty()) {
        PutInstallation(row.installed, places);
    }
    if (row.program == "{copy}") {
        ChangeMachine({"temp\\{name}.uninstall.exe=<setup.exe>"}, places);
    }
    if (row.appRuns) {
        StartApplication(places);
    }
    ChangeMachine(row.files, places);
    if (row.prepare) {
        row.prepare(stage);
    }
    stage.before = TakeState();
    stage.beside = OwnPrograms();
    Hold(stage, row.held);
    Hold(stage, row.inUse, FILE_SHARE_READ);
    ChangeMachine({"-work\\scratch\\record.log"});
}

void CheckBox(Stage& stage, const Step& step) {
    const ScenarioRow& row = stage.row;
    const auto text = [&](const char* name) {
        return Narrow(ProductText(name, row.language, row.product));
    };
    const Box& box = stage.box;
    const auto known = std::ranges::find(knownBoxes, std::string(step.box), &KnownBox::text);
    ASSERT_NE(known, std::end(knownBoxes)) << "unknown box " << step.box;
    EXPECT_EQ(Narrow(box.caption), text("TextTitle"));
    Buttons expected = known->buttons, shown = box.buttons;
    const bool hasWindow = HasWindow(row);
    if (row.isPlainUser && hasWindow && std::string(step.box) == "TextAccessBlocked") {
        // Its button with the shield is called 1.
        expected = {1, IDCANCEL, IDRETRY};
        std::ranges::sort(shown);
    }
    EXPECT_EQ(shown, expected) << step.box;
    EXPECT_EQ(std::ranges::count(box.texts, Widen(text(step.box))), 1)
        << step.box << ", not " << Narrow(box.texts.empty() ? L"" : box.texts.back());
    EXPECT_EQ(box.hasOwner, known->isOnWindow && hasWindow) << step.box;
    if (known->tellsFailure && !row.errors.empty()) {
        EXPECT_EQ(Failures(), Expanded({row.errors[0]}, stage.places)) << "at " << step.box;
    }
}

void Play(Stage& stage, const Step& step) {
    const auto comes = [&] {
        stage.box = FindBox(0);
        return stage.box || (WaitForSingleObject(stage.run->process, 0) == WAIT_OBJECT_0 &&
                             OwnPrograms() == stage.beside);
    };
    Interceptions& interceptions = stage.run->interceptions;
    if (step.box != nullptr) {
        ASSERT_TRUE(WaitUntil(comes, boxBound) && stage.box) << "no box " << step.box;
        CheckBox(stage, step);
    } else if (step.held >= 0) {
        ASSERT_TRUE(interceptions.WaitUntilHeld(step.held)) << "no call " << step.held;
    }
    if (step.act && !testing::Test::HasFailure()) {
        step.act(stage);
    }
    if (step.box != nullptr) {
        EXPECT_TRUE(PressButton(stage.box, step.button)) << step.box << " " << step.button;
    } else if (step.held >= 0) {
        interceptions.Release(step.held);
    }
}

void CheckReports(const Stage& stage) {
    const Lines errors = Expanded(stage.row.errors, stage.places);
    const std::size_t count = errors.size() + ExpectedFileLists(stage.row);
    // What tells who holds files open is another process, which takes its time.
    WaitUntil([&] { return ReceivedReports().size() >= count; });
    const Lines reports = ReceivedReports();
    EXPECT_EQ(Failures(), errors);
    EXPECT_EQ(reports.size(), count) << "with those on open files";
    for (const std::string& report : reports) {
        CheckReport(report, stage, &report == &reports.back());
    }
}

// What has come of the run, which has ended.
void CheckEnd(Stage& stage) {
    const ScenarioRow& row = stage.row;
    CheckReports(stage);
    const auto isKept = [&](const RunningProgram& program) {
        return row.after.empty() || !IsBelow(program.path, PathOf("app", stage.places));
    };
    const std::vector<std::wstring> started = ExpectedPrograms(stage);
    std::vector<std::wstring> others;
    WaitUntil([&] {
        others.clear();
        for (const RunningProgram& program : OwnPrograms()) {
            if (!isKept(program) || std::ranges::count(stage.beside, program) == 0) {
                others.push_back(program.path);
            }
        }
        return others == started;
    });
    EXPECT_EQ(others, started);
    for (const RunningProgram& program : stage.beside) {
        EXPECT_EQ(AllRun({program}), isKept(program)) << Narrow(program.path);
    }
    const Lines calls = ExpectedCalls(stage);
    WaitUntil([&] { return RecordedCalls(stage).size() >= calls.size(); });
    EXPECT_EQ(RecordedCalls(stage), calls);
    const Lines requests = ExpectedRequests(stage);
    WaitUntil([&] { return SeenRequests() == requests; });
    EXPECT_EQ(SeenRequests(), requests);
    for (std::size_t i = 0; i < row.counts.size(); ++i) {
        EXPECT_EQ(stage.run->interceptions.Calls(i), row.counts[i]) << "of interception " << i;
    }
    stage.holders.clear();
    EXPECT_EQ(Differences(ExpectedState(stage), TakeState()), "");
}

struct ScenarioTest : testing::Test {
    explicit ScenarioTest(const ScenarioRow& row)
        : stage{.row = row, .places = GetPlaces(row.product)} {}

    void SetUp() override {
        MoveProfile(stage.row.profile, stage.row.temp);
        WipeMachine();
        ResetServer(stage.row);
        SetEnvironmentVariableW(L"SAMPLE_RECORD", PathOf("work\\scratch\\record.log").c_str());
    }

    void TestBody() override {
        const testing::ScopedTrace trace(stage.row.file, stage.row.line, stage.row.name);
        Prepare(stage);
        ASSERT_FALSE(HasFailure()) << "the machine could not be prepared";
        SetVariables(stage.row, true);
        stage.startTime = time(nullptr);
        stage.run = std::make_unique<SetupRun>(stage.row);
        for (const Step& step : stage.row.steps) {
            Play(stage, step);
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_EQ(stage.run->WaitForEnd(), stage.row.exitCode);
        CheckEnd(stage);
        if (stage.row.check) {
            stage.row.check(stage);
        }
    }

    void TearDown() override {
        EndPrograms();
        SetVariables(stage.row, false);
    }

    Stage stage;
};

}  // namespace

int AddScenarios(const char* group, const std::vector<ScenarioRow>& rows) {
    for (ScenarioRow row : rows) {
        row.run = row.program == "{copy}" && row.run.empty() ? "--uninstall" : row.run;
        testing::RegisterTest(group, row.name.c_str(), nullptr, nullptr, row.file, row.line,
                              [row]() -> ScenarioTest* { return new ScenarioTest(row); });
    }
    return static_cast<int>(rows.size());
}
