#include "operations/VersionFolder.h"

#include <windows.h>

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "operations/Progress.h"
#include "startup/GlobalVars.h"
#include "startup/PathBuffers.h"
#include "support/SetPath.h"

namespace {

constexpr int held = ERROR_SHARING_VIOLATION;
constexpr int real = Scene::real;

const std::wstring oldFiles = L"a=old old_only=x sub\\b=old_b";
const std::wstring newFiles = L"a=newer sub\\b=newer_b sub\\c=c";

}  // namespace

TEST(SwapAppFolder, PutsTheNewFolderInPlaceOrRestoresTheOld) {
    const std::vector<int> noMove = {5, 5, 5, 5, 5, 5}, noCopy = {held, 5, 5, 5, 5, 5, 5},
                           noSecondCopy = {held, real, 5, 5, 5, 5, 5, 5};
    const struct {
        const char* what;
        // Folders that no move and no copy out of works for: x is the new one, v the version's, b
        // its backup.
        const wchar_t *unmovable, *uncopyable;
        std::vector<int> shellAnswers;
        std::wstring version, backup, newVersion, newBackup, left;
        const wchar_t* details;
    } cases[] = {
        {"first", L"", L"", {}, L"", L"", newFiles, L"", L"", L""},
        {"again", L"", L"", {}, oldFiles, L"stale=", newFiles, oldFiles, L"", L""},
        {"file by file", L"v", L"", {held}, oldFiles, L"", newFiles, oldFiles, newFiles, L""},
        {"no backup", L"v", L"v", noCopy, oldFiles, L"", oldFiles, L"", newFiles, L"vb"},
        {"no copy", L"v", L"x", noSecondCopy, oldFiles, L"", oldFiles, L"", newFiles, L"xv"},
        {"no move", L"x", L"", noMove, oldFiles, L"", oldFiles, L"", newFiles, L"xv"},
        {"no move back",
         L"xb",
         L"",
         {5, 5, 5, 5, 5, 5, 5},
         oldFiles,
         L"",
         oldFiles,
         oldFiles,
         newFiles,
         L"xv"},
        {"first, no move", L"x", L"", noMove, L"", L"", L"", L"", newFiles, L"xv"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const bool succeeds = *row.details == L'\0';
        const Scene scene(row.shellAnswers, std::vector<int>(!succeeds, IDCANCEL));
        std::map<wchar_t, std::wstring> folders = {
            {L'x', scene / L"x"}, {L'v', scene / L"v"}, {L'b', scene / L"v.BKP"}};
        MakeTree(folders[L'x'], newFiles);
        MakeTree(folders[L'v'], row.version);
        MakeTree(folders[L'b'], row.backup);
        SetPath(extractDir, folders[L'x']);
        const auto fails = [&](const std::wstring& letters, const std::wstring& path) {
            SetLastError(held);
            return std::any_of(letters.begin(), letters.end(), [&](wchar_t letter) {
                return (path + L"\\").starts_with(folders[letter] + L"\\");
            });
        };
        const Replaced moves = Replace(
            "kernel32.dll", "MoveFileExW", MoveFileExW, [&](auto move, LPCWSTR from, auto... rest) {
                return !fails(row.unmovable, from) && move(from, rest...);
            });
        const Replaced copies = Replace(
            "kernel32.dll", "CopyFileW", CopyFileW, [&](auto copy, LPCWSTR from, auto... rest) {
                return !fails(row.uncopyable, from) && copy(from, rest...);
            });
        CProgressObject progress;
        EXPECT_EQ(progress.SwapAppFolder(folders[L'v'], folders[L'b']), succeeds ? 0 : -1);
        EXPECT_EQ(ReadTree(folders[L'v']), row.newVersion);
        EXPECT_EQ(ReadTree(folders[L'b']), row.newBackup);
        EXPECT_EQ(ReadTree(folders[L'x']), row.left);
        EXPECT_EQ(Exists(folders[L'b']), !row.newBackup.empty());
        EXPECT_EQ(progress.errorCode, succeeds ? 0 : 9);
        if (!succeeds) {
            EXPECT_TRUE(progress.report.message.ends_with(L" : " + folders[row.details[0]] +
                                                          L" : " + folders[row.details[1]]))
                << progress.report.message;
        }
        EXPECT_EQ(scene.log.Count(L"CloseWindowsExplorerWindowsForPath: Done"), 3);
    }
}

TEST(RollbackInstall, RestoresVersionFileAndFolder) {
    const struct {
        const char *versionFile, *oldText, *expected;
        bool hadFolder, isMovable;
    } cases[] = {
        {"2.0.0", "1.0.0", "1.0.0", true, true},     {"2.0.0", "1.0.0", "1.0.0", true, false},
        {"2.0.0", "", "<missing>", false, true},     {nullptr, "1.0.0", "<missing>", false, true},
        {"2.0.0", "10.0.0", "10.0.0", false, false},
    };
    for (const auto& [versionFile, oldText, expected, hadFolder, isMovable] : cases) {
        const Scene scene(isMovable ? std::vector<int>() : std::vector<int>{real, held});
        GlobalVars vars;
        vars.versionFilePath = scene / L"version";
        if (versionFile != nullptr) {
            WriteFileText(vars.versionFilePath, versionFile);
        }
        MakeTree(scene / L"v", newFiles);
        MakeTree(scene / L"v.BKP", oldFiles);
        const Replaced moves = Replace("kernel32.dll", "MoveFileExW", MoveFileExW,
                                       [movable = isMovable](auto move, auto... arguments) {
                                           SetLastError(held);
                                           return movable && move(arguments...);
                                       });
        RollbackInstall(&vars, hadFolder, scene / L"v", scene / L"v.BKP", oldText);
        EXPECT_EQ(ReadFileText(vars.versionFilePath), expected);
        EXPECT_EQ(ReadTree(scene / L"v"), hadFolder ? oldFiles : newFiles);
        EXPECT_EQ(Exists(scene / L"v.BKP"), !hadFolder || !isMovable);
    }
}
