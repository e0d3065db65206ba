#include "startup/PathBuffers.h"

#include <shlobj.h>

#include <gtest/gtest.h>

#include "startup/GlobalVars.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

namespace {

int failingFolder;

HRESULT WINAPI FolderUnlessFailing(HWND, int csidl, HANDLE, DWORD, LPWSTR path) {
    lstrcpyW(path, csidl == CSIDL_APPDATA    ? L"R:\\roaming"
                   : csidl == CSIDL_PROGRAMS ? L"P:\\programs"
                                             : L"L:\\local");
    return csidl == failingFolder ? E_FAIL : S_OK;
}

class BuildPathsTest : public testing::Test {
  protected:
    BuildPathsTest() {
        vars.appDirName = L"App";
        vars.manifestFileName = L"app-manifest.json";
        vars.archiveFileName = L"app.zip";
        vars.tempDirName = L"App.TEMP";
        vars.shortcutName = L"App.lnk";
        vars.installDir = L"I:\\App";
        failingFolder = 0;
        for (wchar_t* buffer : buffers) {
            lstrcpyW(buffer, L"-");
        }
    }

    // All buffers, in the order in which they are filled, without the scratch folder's own path.
    std::wstring Built() const {
        std::wstring all;
        for (const std::wstring path : buffers) {
            all += (path.find(scratch.path) == 0 ? L"T:" + path.substr(scratch.path.size()) : path);
            all += L" ";
        }
        return all;
    }

    wchar_t* const buffers[8] = {appDataDir,       tempManifestPath,        tempArchivePath,
                                 extractDir,       extractUninstallExePath, programsShortcutPath,
                                 uninstallEndPath, extractPackageJsonPath};
    ScratchFolder scratch;
    TempVariable temp{scratch.path};
    ImportPatch folders{"shell32.dll", "SHGetFolderPathW", AsProc(&FolderUnlessFailing)};
    GlobalVars vars;
};

const std::wstring head = L"R:\\roaming\\App T:\\app-manifest.json T:\\app.zip ";

}  // namespace

TEST_F(BuildPathsTest, UnpacksIntoTheTemporaryOrTheUpdateFolder) {
    WriteFileText(scratch / L"update.zip", "zip");
    CreateDirectoryW((scratch / L"folder").c_str(), nullptr);
    const struct {
        const wchar_t* updatePath;
        std::wstring extracted;
    } cases[] = {{L"update.zip", L"T:\\App.TEMP"},
                 {L"folder", L"T:\\folder"},
                 // What cannot be read counts as a folder.
                 {L"missing", L"T:\\missing"},
                 {nullptr, L"T:\\App.TEMP"}};
    for (const auto& row : cases) {
        const std::wstring path = scratch / (row.updatePath ? row.updatePath : L"");
        EXPECT_EQ(BuildPaths(&vars, row.updatePath ? path.c_str() : nullptr), 0);
        EXPECT_EQ(Built(), head + row.extracted + L" " + row.extracted +
                               L"\\uninstall.exe P:\\programs\\App.lnk I:\\App\\uninstall_end " +
                               row.extracted + L"\\resources\\app\\package.json ");
    }
}

TEST_F(BuildPathsTest, FailsAtTheFirstMissingFolderAndKeepsWhatLiesBehind) {
    for (const DWORD length : {0, 300}) {
        const FailingCall noTemp("kernel32.dll", "GetTempPathW", &GetTempPathW, length);
        EXPECT_EQ(BuildPaths(&vars, nullptr), -1);
    }
    for (const int folder : {CSIDL_APPDATA, CSIDL_LOCAL_APPDATA}) {
        failingFolder = folder;
        EXPECT_EQ(BuildPaths(&vars, nullptr), -1);
    }
    EXPECT_EQ(Built(), L"- - - - - - - - ");
    failingFolder = CSIDL_PROGRAMS;
    EXPECT_EQ(BuildPaths(&vars, nullptr), -1);
    EXPECT_EQ(Built(), head + L"T:\\App.TEMP T:\\App.TEMP\\uninstall.exe - - - ");
}

TEST_F(BuildPathsTest, FailsWhenAPathDoesNotFit) {
    // Leaves room for a backslash, the manifest's name and the terminator.
    const std::wstring longest = L"C:\\" + std::wstring(260 - 3 - 1 - 17 - 1, L't');
    for (const auto& [folder, result] :
         {std::pair(longest, 0), {longest + L"t", -1}, {longest + std::wstring(40, L't'), -1}}) {
        const TempVariable longTemp(folder);
        EXPECT_EQ(BuildPaths(&vars, L"C:\\"), result) << folder.size();
    }
    vars.installDir = std::wstring(260 - 14 - 1, L'i');
    EXPECT_EQ(BuildPaths(&vars, nullptr), 0);
    vars.installDir += L"i";
    EXPECT_EQ(BuildPaths(&vars, nullptr), -1);
}
