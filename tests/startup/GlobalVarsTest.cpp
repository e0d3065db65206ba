#include "startup/GlobalVars.h"

#include <shlobj.h>

#include <gtest/gtest.h>

#include <map>

#include "support/ImportPatch.h"

namespace {

std::map<UINT, std::wstring> strings;

int WINAPI LoadStringFromMap(HINSTANCE, UINT id, LPWSTR buffer, int size) {
    lstrcpynW(buffer, strings[id].c_str(), size);
    return lstrlenW(buffer);
}

GlobalVars InitFrom(std::map<UINT, std::wstring> resources) {
    strings = std::move(resources);
    ImportPatch patch("user32.dll", "LoadStringW", AsProc(&LoadStringFromMap));
    GlobalVars vars;
    vars.Init();
    return vars;
}

}  // namespace

TEST(Init, ComposesEveryNameFromTheStringResources) {
    const GlobalVars vars = InitFrom({{129, L"Big App"},
                                      {130, L"small"},
                                      {131, L"host.example"},
                                      {132, L"8443"},
                                      {133, L"https://base.example"},
                                      {134, L"/pre"},
                                      {135, L"{GUID}"}});
    wchar_t local[MAX_PATH];
    SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, local);
    const std::wstring installDir = std::wstring(local) + L"\\Big App";
    const std::wstring expected[][2] = {
        {vars.installerLockName, L"small.installer.lock"},
        {vars.uninstallerLockName, L"small.uninstaller.lock"},
        {vars.uninstallExeName, L"Big App.uninstall.exe"},
        {vars.windowClassName, L"Big AppInstallerWindow"},
        {vars.manifestUrl, L"https://base.example/pre/download/win/manifest.json"},
        {vars.offlineInstallerUrl,
         L"https://base.example/pre/api/v1/service/offlineinstaller?app=quorvane&arch="},
        {vars.manifestFileName, L"small-manifest.json"},
        {vars.archiveFileName, L"small.zip"},
        {vars.appDirName, L"Big App"},
        {vars.tempDirName, L"Big App.TEMP"},
        {vars.appExeName, L"Big App.exe"},
        {vars.starterExeName, L"Big AppStarter.exe"},
        {vars.shortcutName, L"Big App.lnk"},
        {vars.appDisplayName + vars.appName, L"Big AppBig App"},
        {vars.serverHost, L"host.example"},
        {vars.reportErrorPath, L"/pre/api/v1/service/reporterror"},
        {vars.errorReportFileName, L".small-error-report.txt"},
        {vars.appGuid, L"{GUID}"},
        {vars.installDir, installDir},
        {vars.starterPath, installDir + L"\\Big AppStarter.exe"},
        {vars.uninstallExePath, installDir + L"\\uninstall.exe"},
        {vars.versionFilePath, installDir + L"\\version"},
    };
    for (const auto& row : expected) {
        EXPECT_EQ(row[0], row[1]);
    }
}

TEST(Init, CutsThePortAndKnowsTheSchemeByItsExactStart) {
    const struct {
        const wchar_t* text;
        std::uint16_t port;
    } ports[] = {{L"443", 443}, {L"65535", 65535}, {L"70000", 4464}, {L"x", 0}, {L"", 0}};
    for (const auto& row : ports) {
        EXPECT_EQ(InitFrom({{132, row.text}}).serverPort, row.port) << row.text;
    }
    const struct {
        const wchar_t* url;
        DWORD flags;
    } urls[] = {{L"https://a", 0x803000}, {L"HTTPS://a", 0},  {L"http://a", 0},
                {L" https://a", 0},       {L"a?https://", 0}, {L"https:/", 0}};
    for (const auto& row : urls) {
        const GlobalVars vars = InitFrom({{133, row.url}});
        EXPECT_EQ(vars.internetFlags, row.flags) << row.url;
        // Without a prefix.
        EXPECT_EQ(vars.manifestUrl, std::wstring(row.url) + L"/download/win/manifest.json");
        EXPECT_EQ(vars.reportErrorPath, L"/api/v1/service/reporterror");
    }
}
