#include "base/PathBuffers.h"
#include "operations/AppControl.h"
#include "operations/DownloadArchive.h"
#include "operations/Progress.h"
#include "services/Manifest.h"
#include "support/Replace.h"
#include "support/Scratch.h"

TEST(ComposeInstallFlag, FitsIntoItsBuffer) {
    std::wstring flag;
    for (const auto& [most, isOffline] : {std::pair(242, false), {222, true}}) {
        EXPECT_TRUE(ComposeInstallFlag(std::wstring(most, L'n'), isOffline, flag));
        EXPECT_FALSE(ComposeInstallFlag(std::wstring(most + 1, L'n'), isOffline, flag));
    }
    EXPECT_TRUE(ComposeInstallFlag(L"", true, flag));
    EXPECT_EQ(flag, L"--install-app --is-offline-install");
}

TEST(DownloadPosition, GoesFrom5To70) {
    // Greatest position, bytes so far and in all, position. The product takes all 32 bits.
    const unsigned cases[][4] = {{100, 0, 1, 5},
                                 {100, 100, 100, 70},
                                 {100, 99, 100, 69},
                                 {100, 5000000, 10000000, 37},
                                 {100, 99, 101, 5},
                                 {100, 101, 101, 70},
                                 {1299, 50, 100, 450},
                                 {99, 50, 100, 0},
                                 {100, 4000000000, 4000000000, 70}};
    for (const auto& [most, progress, total, expected] : cases)
        EXPECT_EQ(DownloadPosition(0, most, progress, total), expected) << progress << " " << total;
    CProgressObject object;
    for (const ULONG total : {100, 0}) {
        EXPECT_EQ(object.OnProgress(50, total, 0, nullptr), S_OK);
        EXPECT_EQ(object.position, 37) << "without a total nothing moves";
    }
}

// Which address is asked when is seen in the scenarios.
TEST(DownloadArchive, LeavesOutAnAddressThatIsTooLong) {
    const ScratchFolder scratch;
    SetPath(tempArchivePath, scratch / L"a.zip");
    // Attempts that fail at once.
    const Replaced noNetwork = Failing(GetProcAddress, nullptr);
    const Replaced noPauses = Replace(Sleep, [](auto, auto) {});
    for (const auto& [length, altLength, attempts] :
         {std::tuple(0, 3, 20), {3, 0, 10}, {1023, 0, 10}, {1024, 5000, 0}}) {
        Manifest manifest;
        manifest.entries = {{std::string(length, 'a'), std::string(altLength, 'b'), "hash", ""},
                            {"//other", "", "", "arm64"}};
        CProgressObject progress;
        const LogCapture log;
        EXPECT_EQ(DownloadArchive(&progress, manifest), -1);
        EXPECT_EQ(progress.errorCode, ErrorDownload);
        EXPECT_EQ(log.Count(L"INFO Utils urlDownloadToFile: http"), attempts);
        EXPECT_EQ(log.Count(L"ERROR Utils "), attempts == 0 ? 2 : attempts / 10);
    }
}
