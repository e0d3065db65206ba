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
        expected = WithReport(TakeState());
    }

    State expected;
};

constexpr char noPaths[] =
    "Установка : Загрузка файла манифеста... : Ошибка инициализации путей к файлам";

std::string TempPath(const wchar_t* name) {
    return Narrow(places.temp + L"\\" + name);
}

}  // namespace

TEST_F(RefusedInstall, WhenTheTemporaryFolderIsTooDeep) {
    const TempVariable deep(L"C:\\" + std::wstring(240, L'd'));
    EXPECT_EQ(RunFailing(), noPaths);
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
            RunFailing({.interceptions = {FailCall({"SHGetFolderPathW", L"", question, 1}, 3)}}),
            noPaths);
        EXPECT_STATE(expected);
    }
}

TEST_F(RefusedInstall, WhenTheVersionFileCannotBeRead) {
    auto held = std::make_unique<HeldOpen>(places.versionFile);
    EXPECT_EQ(RunFailing(),
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
    EXPECT_EQ(RunFailing(), "Установка : Распаковка файлов... : Ошибка распаковки файлов : " +
                                TempPath(L"quorvane.zip") + " : " + TempPath(L"Quorvane.TEMP"));
    held.reset();
    expected["temp\\quorvane.zip"] = DescribeFile(GetPrepared().folder + L"\\www\\app.zip");
    expected["temp\\Quorvane.TEMP\\"] = folderMark;
    expected["temp\\Quorvane.TEMP\\left.txt"] = "by another run";
    EXPECT_STATE(expected);
}

TEST_F(RefusedInstall, WhenItsOwnFileCannotBeCopied) {
    PublishVersion("1.2.3", "no-uninstaller.zip");
    EXPECT_EQ(RunFailing({.interceptions = {FailCall({"CopyFileW", L"uninstall.exe"}, 32),
                                            FailCall({"SHFileOperationW", L"uninstall.exe"}, 5),
                                            SkipCall({"Sleep", L"100"})}}),
              "Установка : Распаковка файлов... : Ошибка копирования файлов в каталог "
              "программы : " +
                  Narrow(GetPrepared().setup) + " : " + TempPath(L"Quorvane.TEMP\\uninstall.exe"));
    AddUnpacked(expected);
    expected.erase("temp\\Quorvane.TEMP\\uninstall.exe");
    EXPECT_STATE(expected);
}

TEST_F(RefusedInstall, WhenTheInstallFolderCannotBeMade) {
    WipeMachine();
    EXPECT_EQ(
        RunFailing({.interceptions = {FailCall({"CreateDirectoryW", L"Local\\Quorvane"}, 5)}}),
        "Установка : Установка файлов... : Ошибка создания папки приложения : " +
            Narrow(places.app + L"\\1.2.3"));
    State left;
    AddUnpacked(left);
    EXPECT_STATE(WithReport(left));
}
