#include <windows.h>

#include <memory>

#include "scenarios/Scenario.h"
#include "support/TempVariable.h"

namespace {

// Failures before anything is put in place: the former installation is untouched.
class RefusedInstall : public Scenario {
  protected:
    void SetUp() override {
        Scenario::SetUp();
        PutInstallation("1.0.0");
        PublishVersion("1.2.3");
        expected = TakeState();
        expected[savedReportPlace] = savedReport;
    }

    State expected;
};

const Places& places = GetPlaces();

std::string TempPath(const wchar_t* name) {
    return Narrow(places.temp + L"\\" + name);
}

}  // namespace

TEST_F(RefusedInstall, WhenTheTemporaryFolderIsTooDeep) {
    const TempVariable deep(L"C:\\" + std::wstring(240, L'd'));
    EXPECT_EQ(RunInWindow({}, {{"TextInstallFailed", IDOK}}),
              "Установка : Загрузка файла манифеста... : Ошибка инициализации путей к файлам");
    // The report cannot be saved there either.
    expected.erase(savedReportPlace);
    EXPECT_STATE(expected);
    EXPECT_EQ(SeenRequests(), Lines{"POST /api/v1/service/reporterror 200"});
}

TEST_F(RefusedInstall, WhenAFolderOfTheUserIsUnknown) {
    // The first question comes at the start, the others when the operation makes its paths.
    for (const LONG question : {2, 3, 4}) {
        SCOPED_TRACE(question);
        ResetServer();
        PublishVersion("1.2.3");
        EXPECT_EQ(
            RunInWindow({.interceptions = {FailCall({"SHGetFolderPathW", L"", question, 1}, 3)}},
                        {{"TextInstallFailed", IDOK}}),
            "Установка : Загрузка файла манифеста... : Ошибка инициализации путей к файлам");
        EXPECT_STATE(expected);
    }
}

TEST_F(RefusedInstall, WhenTheVersionFileCannotBeRead) {
    auto held = std::make_unique<HeldOpen>(places.versionFile);
    EXPECT_EQ(RunInWindow({}, {{"TextInstallFailed", IDOK}}),
              "Установка : Проверка наличия установленной версии Lumentra... : Ошибка чтения "
              "файла текущей версии приложения : " +
                  Narrow(places.versionFile));
    held.reset();
    EXPECT_STATE(expected);
}

TEST_F(RefusedInstall, WhenTheUnpackFolderCannotBeCleared) {
    const std::wstring left = places.extractFolder + L"\\left.txt";
    WriteFileText(left, "by another run");
    auto held = std::make_unique<HeldOpen>(left);
    EXPECT_EQ(RunInWindow({}, {{"TextInstallFailed", IDOK}}),
              "Установка : Распаковка файлов... : Ошибка распаковки файлов : " +
                  TempPath(L"quorvane.zip") + " : " + TempPath(L"Quorvane.TEMP"));
    held.reset();
    expected["temp\\quorvane.zip"] = DescribeFile(GetPrepared().folder + L"\\www\\app.zip");
    expected["temp\\Quorvane.TEMP\\"] = folderMark;
    expected["temp\\Quorvane.TEMP\\left.txt"] = "by another run";
    EXPECT_STATE(expected);
}

TEST_F(RefusedInstall, WhenItsOwnFileCannotBeCopied) {
    PublishVersion("1.2.3", "no-uninstaller.zip");
    const SetupCall call = {
        .interceptions = {FailCall({"CopyFileW", L"uninstall.exe"}, ERROR_SHARING_VIOLATION),
                          FailCall({"SHFileOperationW", L"uninstall.exe"}, ERROR_ACCESS_DENIED),
                          SkipCall({"Sleep", L"100"})}};
    EXPECT_EQ(RunInWindow(call, {{"TextInstallFailed", IDOK}}),
              "Установка : Распаковка файлов... : Ошибка копирования файлов в каталог "
              "программы : " +
                  Narrow(GetPrepared().setup) + " : " + TempPath(L"Quorvane.TEMP\\uninstall.exe"));
    AddTree(expected, "temp\\Quorvane.TEMP\\", SampleFolder(L"full"));
    expected.erase("temp\\Quorvane.TEMP\\uninstall.exe");
    EXPECT_STATE(expected);
}

TEST_F(RefusedInstall, WhenTheInstallFolderCannotBeMade) {
    WipeMachine();
    EXPECT_EQ(
        RunInWindow({.interceptions = {FailCall({"CreateDirectoryW", L"Local\\Quorvane"}, 5)}},
                    {{"TextInstallFailed", IDOK}}),
        "Установка : Установка файлов... : Ошибка создания папки приложения : " +
            Narrow(places.app + L"\\1.2.3"));
    State left;
    AddTree(left, "temp\\Quorvane.TEMP\\", SampleFolder(L"full"));
    left[savedReportPlace] = savedReport;
    EXPECT_STATE(left);
}

// The system counts it as the folder until something is to go into it.
TEST_F(RefusedInstall, WhenAFileStandsInPlaceOfTheInstallFolder) {
    WipeMachine();
    WriteFileText(places.app, "of another program");
    EXPECT_NE(RunInWindow({}, {{"TextInstallFailed", IDOK}}), "");
    EXPECT_EQ(ReadFileText(places.app), "of another program");
    State left = TakeState();
    Drop(left, "temp\\Quorvane.TEMP");
    EXPECT_EQ(Differences({{"app", "of another program"}, {savedReportPlace, savedReport}}, left),
              "");
}
