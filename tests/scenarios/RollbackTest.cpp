#include <windows.h>

#include <memory>

#include "scenarios/Scenario.h"

namespace {

// Failures after the new version's folder is in place.
class Rollback : public Scenario {};

const Places& places = GetPlaces();
const State full = InstalledState("1.2.3");

struct Former {
    const char* installed;  // null: nothing
    bool asks;
};
constexpr Former formers[] = {{nullptr, false}, {"1.0.0", false}, {"1.2.3", true}};

// Makes the former state, which is also what the failed run is to bring back.
State Arrange(const Former& former) {
    WipeMachine();
    ResetServer();
    PublishVersion("1.2.3");
    if (former.installed != nullptr) {
        PutInstallation(former.installed);
    }
    return TakeState();
}

std::string RunFailing(const Former& former, const std::vector<InterceptionRow>& interceptions) {
    std::vector<BoxAnswer> answers = {{"TextInstallFailed", IDOK}};
    if (former.asks) {
        answers.insert(answers.begin(), {"TextUpToDateContinue", IDOK});
    }
    return RunInWindow({.interceptions = interceptions}, answers);
}

// The new folder stays unless it took the place of another one.
void KeepNewFolder(State& expected, const Former& former) {
    expected["app\\"] = folderMark;
    if (!former.asks) {
        AddTree(expected, "app\\1.2.3\\", SampleFolder(L"full"));
    }
}

void KeepPrograms(State& expected) {
    expected["app\\QuorvaneStarter.exe"] = full.at("app\\QuorvaneStarter.exe");
    expected["app\\uninstall.exe"] = full.at("app\\uninstall.exe");
}

std::string Trace(const Former& former) {
    return former.installed == nullptr ? "nothing installed" : former.installed;
}

std::string CopyFailure(const wchar_t* name) {
    return "Установка : Установка файлов... : Ошибка копирования файлов в каталог программы : " +
           Narrow(places.app + L"\\1.2.3\\" + name + L" : " + places.app + L"\\" + name);
}

}  // namespace

TEST_F(Rollback, WhenTheStarterIsInUse) {
    for (const Former& former : {formers[1], formers[2]}) {
        SCOPED_TRACE(Trace(former));
        State expected = Arrange(former);
        auto held = std::make_unique<HeldOpen>(places.starter);
        EXPECT_EQ(RunFailing(former, {SkipCall({"Sleep", L"100"})}),
                  CopyFailure(L"QuorvaneStarter.exe"));
        held.reset();
        KeepNewFolder(expected, former);
        expected[savedReportPlace] = savedReport;
        EXPECT_STATE(expected);
    }
}

TEST_F(Rollback, WhenTheUninstallerIsInUse) {
    for (const Former& former : {formers[1], formers[2]}) {
        SCOPED_TRACE(Trace(former));
        State expected = Arrange(former);
        WriteFileText(places.starter, "the starter of another version");
        auto held = std::make_unique<HeldOpen>(places.uninstaller);
        EXPECT_EQ(RunFailing(former, {SkipCall({"Sleep", L"100"})}), CopyFailure(L"uninstall.exe"));
        held.reset();
        KeepNewFolder(expected, former);
        // Already replaced.
        expected["app\\QuorvaneStarter.exe"] = full.at("app\\QuorvaneStarter.exe");
        expected[savedReportPlace] = savedReport;
        EXPECT_STATE(expected);
    }
}

TEST_F(Rollback, WhenTheVersionFileCannotBeWritten) {
    for (const Former& former : formers) {
        SCOPED_TRACE(Trace(former));
        State expected = Arrange(former);
        // A read-only file can be read and not replaced; where there is none, the call fails.
        std::vector<InterceptionRow> interceptions;
        if (former.installed != nullptr) {
            SetFileAttributesW(places.versionFile.c_str(), FILE_ATTRIBUTE_READONLY);
        } else {
            interceptions = {FailCall({"CreateFileW", L"Quorvane\\version"}, ERROR_DISK_FULL)};
        }
        EXPECT_EQ(RunFailing(former, interceptions),
                  "Установка : Установка файлов... : Ошибка сохранения текущей версии "
                  "приложения : " +
                      Narrow(places.versionFile));
        KeepNewFolder(expected, former);
        KeepPrograms(expected);
        expected[savedReportPlace] = savedReport;
        EXPECT_STATE(expected);
    }
}

TEST_F(Rollback, WhenTheDiskIsFullForTheVersionFile) {
    const Former former = formers[1];
    State expected = Arrange(former);
    EXPECT_EQ(RunFailing(former, {FailCall({"WriteFile", L"", 1, 1}, ERROR_DISK_FULL)}),
              "Установка : Установка файлов... : Ошибка сохранения текущей версии приложения : " +
                  Narrow(places.versionFile));
    KeepNewFolder(expected, former);
    KeepPrograms(expected);
    expected[savedReportPlace] = savedReport;
    EXPECT_STATE(expected);
}

// What the entry had got so far stays; everything else is as before the run.
TEST_F(Rollback, WhenTheUninstallEntryCannotBeWritten) {
    const struct {
        InterceptionRow fault;
        std::vector<const char*> written;
    } cases[] = {
        {FailCall({"RegCreateKeyExW", L"Uninstall\\{"}, ERROR_ACCESS_DENIED), {}},
        {FailCall({"RegSetValueExW", L"DisplayName"}, ERROR_DISK_FULL), {"entry\\"}},
        {FailCall({"RegSetValueExW", L"Publisher"}, ERROR_DISK_FULL),
         {"entry\\", "entry\\DisplayName", "entry\\DisplayVersion", "entry\\DisplayIcon",
          "entry\\UninstallString"}},
    };
    for (const Former& former : formers) {
        for (const auto& [fault, written] : cases) {
            SCOPED_TRACE(Trace(former) + ", " + fault.function);
            State expected = Arrange(former);
            EXPECT_EQ(RunFailing(former, {fault}),
                      "Установка : Регистрация Lumentra в реестре... : Ошибка операций работы с "
                      "реестром Windows");
            KeepNewFolder(expected, former);
            KeepPrograms(expected);
            for (const char* place : written) {
                expected[place] = full.at(place);
            }
            expected[savedReportPlace] = savedReport;
            EXPECT_STATE(expected);
            EXPECT_TRUE(RunningPrograms(appExeName).empty());
        }
    }
}
