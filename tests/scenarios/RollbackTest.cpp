#include <windows.h>

#include <memory>

#include "scenarios/Scenario.h"

// Failures after the new version's folder is in place.
using Rollback = Scenario;

namespace {

const State full = InstalledState("1.2.3");
const std::wstring files = places.temp + L"\\new-files";

constexpr DWORD diskFull = ERROR_DISK_FULL, denied = ERROR_ACCESS_DENIED;

struct Fault {
    std::wstring held;  // in use; the version file, which is read before, is read-only
    InterceptionRow row;
    std::string error;
    std::vector<const char*> written;  // what the run has put in place by then and leaves
};

std::string CopyError(const wchar_t* name) {
    return "Ошибка копирования файлов в каталог программы : " +
           Narrow(places.app + L"\\1.2.3\\" + name + L" : " + places.app + L"\\" + name);
}

constexpr char entryError[] = "Ошибка операций работы с реестром Windows";
const std::string versionError =
    "Ошибка сохранения текущей версии приложения : " + Narrow(places.versionFile);
constexpr char starter[] = "app\\QuorvaneStarter.exe", uninstaller[] = "app\\uninstall.exe";

const Fault faults[] = {
    {places.starter, {}, CopyError(L"QuorvaneStarter.exe"), {}},
    {places.uninstaller, {}, CopyError(L"uninstall.exe"), {starter}},
    {places.versionFile, {}, versionError, {starter, uninstaller}},
    {L"", FailCall({"WriteFile", L"", 1, 1}, diskFull), versionError, {starter, uninstaller}},
    {L"", FailCall({"RegCreateKeyExW", L"{"}, denied), entryError, {starter, uninstaller}},
    {L"",
     FailCall({"RegSetValueExW", L"Publisher"}, diskFull),
     entryError,
     {starter, uninstaller, "entry\\", "entry\\DisplayName", "entry\\DisplayVersion",
      "entry\\DisplayIcon", "entry\\UninstallString"}},
};

std::string Head(bool isUpdate, const Fault& fault) {
    const char* const stages[] = {
        "Установка : Установка файлов... : ", "Обновление : Установка приложения... : ",
        "Установка : Регистрация Lumentra в реестре... : ",
        "Обновление : Обновление ключей реестра... : "};
    return stages[(fault.error == entryError ? 2 : 0) + isUpdate] + fault.error;
}

// The new folder stays unless it took the place of another one.
State AfterRollback(const std::string& installed, const Fault& fault) {
    State expected = WithReport(TakeState());
    expected["app\\"] = folderMark;
    if (installed != "1.2.3") {
        AddTree(expected, "app\\1.2.3\\", SampleFolder(L"full"));
    }
    for (const char* place : fault.written) {
        expected[place] = full.at(place);
    }
    return expected;
}

void RunWithFault(const std::string& installed, bool isUpdate, const Fault& fault) {
    std::unique_ptr<HeldOpen> held;
    SetupCall call = {.interceptions = {SkipCall({"Sleep", L"100"})}};
    if (fault.held.empty()) {
        call.interceptions.push_back(fault.row);
    } else if (fault.held == places.versionFile) {
        SetFileAttributesW(places.versionFile.c_str(), FILE_ATTRIBUTE_READONLY);
    } else {
        held = std::make_unique<HeldOpen>(fault.held);
    }
    std::vector<BoxAnswer> boxes;
    if (isUpdate) {
        CopyTree(SampleFolder(L"full"), files);
        call.arguments = L"--update " + files;
    } else if (installed == "1.2.3") {
        boxes = {{"TextUpToDateContinue", IDOK}, {"TextInstallFailed", IDOK}};
    } else {
        boxes = {{"TextInstallFailed", IDOK}};
    }
    EXPECT_EQ(RunInWindow(call, boxes), Head(isUpdate, fault));
}

}  // namespace

TEST_F(Rollback, BringsTheFormerFolderAndVersionBack) {
    const std::pair<const char*, bool> runs[] = {
        {"", false}, {"1.0.0", false}, {"1.2.3", false}, {"1.0.0", true}, {"1.2.3", true}};
    for (const auto& [installed, isUpdate] : runs) {
        for (const Fault& fault : faults) {
            if (*installed == '\0' && !fault.held.empty()) {
                continue;
            }
            SCOPED_TRACE(installed + (" " + Head(isUpdate, fault)));
            SetUp();
            PublishVersion("1.2.3");
            if (*installed != '\0') {
                PutInstallation(installed);
                WriteFileText(places.starter, "the starter of another version");
                WriteFileText(places.uninstaller, "the uninstaller of another version");
            }
            const State expected = AfterRollback(installed, fault);
            RunWithFault(installed, isUpdate, fault);
            EXPECT_STATE(expected);
            EXPECT_TRUE(RunningPrograms(appExeName).empty());
        }
    }
}
