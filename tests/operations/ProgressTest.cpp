#include "operations/Progress.h"

#include <string>

#include <gtest/gtest.h>

#include "operations/DownloadCallback.h"
#include "services/Manifest.h"
#include "startup/PathBuffers.h"
#include "support/Replace.h"
#include "support/Scratch.h"
#include "support/SetPath.h"

TEST(CProgressObject, NotesTheErrorAndTheDetailsUpToTheFirstNull) {
    const struct {
        int operation, stage;
        std::wstring line;
    } cases[] = {
        {OperationInstall, StageInstalled, L"Установка : Установка завершена!"},
        {OperationUninstall, StageUninstalled, L"Удаление : Удаление завершено!"},
        {OperationUpdate, StageUpdated, L"Обновление : Обновление завершено!"},
    };
    for (const auto& [operation, stage, line] : cases) {
        CProgressObject progress;
        progress.operation = operation;
        const LogCapture log;
        progress.SetStage(stage);
        EXPECT_EQ(log.Lines(), L"INFO Progress DO: " + line + L"\n");
        SetLastError(1234);
        progress.SetError(ErrorRegistry, {L"a", L"", L"b", nullptr, L"c"});
        EXPECT_EQ(progress.report.message,
                  line + L" : Ошибка операций работы с реестром Windows : a :  : b");
        EXPECT_EQ(progress.report.lastError, 1234u);
    }
}

TEST(DownloadPosition, GoesFrom5To70) {
    const struct {
        int rangeMax;
        unsigned long progress, progressMax;
        int expected;
    } cases[] = {
        {100, 0, 1, 5},
        {100, 100, 100, 70},
        {100, 99, 100, 69},
        {100, 5000000, 10000000, 37},
        {100, 99, 101, 5},
        {100, 101, 101, 70},
        {1299, 50, 100, 450},
        {99, 50, 100, 0},
        // The product takes all 32 bits.
        {100, 4000000000, 4000000000, 70},
    };
    for (const auto& [rangeMax, progress, progressMax, expected] : cases) {
        EXPECT_EQ(DownloadPosition(0, rangeMax, progress, progressMax), expected)
            << progress << " of " << progressMax;
    }
    CProgressObject progress;
    for (const ULONG total : {100, 0}) {
        EXPECT_EQ(progress.OnProgress(50, total, 0, nullptr), S_OK);
        EXPECT_EQ(progress.position, 37) << "without a total nothing moves";
    }
}

// Which address is asked when is seen in the scenarios.
TEST(DownloadArchive, LeavesOutAnAddressThatIsTooLong) {
    const ScratchFolder scratch;
    SetPath(tempArchivePath, scratch / L"a.zip");
    // Only attempts that fail at once.
    const Replaced noNetwork = Replace("kernel32.dll", "GetProcAddress", GetProcAddress,
                                       [](auto, auto...) { return nullptr; });
    const Replaced noPauses = Replace("kernel32.dll", "Sleep", Sleep, [](auto, auto) {});
    const struct {
        std::string url, altUrl;
        int attempts;
    } cases[] = {
        {"", "//b", 20},
        {"//a", "", 10},
        {std::string(1023, 'a'), "", 10},
        {std::string(1024, 'a'), std::string(5000, 'b'), 0},
    };
    for (const auto& [url, altUrl, attempts] : cases) {
        Manifest manifest;
        manifest.entries = {{url, altUrl, "hash", ""}, {"//other", "", "", "arm64"}};
        CProgressObject progress;
        const LogCapture log;
        EXPECT_EQ(DownloadArchive(&progress, manifest), -1);
        EXPECT_EQ(progress.errorCode, ErrorDownload);
        EXPECT_EQ(log.Count(L"INFO Utils urlDownloadToFile: http"), attempts);
        EXPECT_EQ(log.Count(L"ERROR Utils "), attempts == 0 ? 2 : attempts / 10);
    }
}
