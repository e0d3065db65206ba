#include "startup/GlobalVars.h"

#include <gtest/gtest.h>

#include <map>

#include "support/Replace.h"

namespace {

GlobalVars InitFrom(std::map<UINT, std::wstring> resources) {
    const Replaced strings =
        Replace("user32.dll", "LoadStringW", LoadStringW,
                [&](auto, HINSTANCE, UINT id, LPWSTR buffer, int size) {
                    return lstrlenW(lstrcpynW(buffer, resources[id].c_str(), size));
                });
    GlobalVars vars;
    vars.Init();
    return vars;
}

}  // namespace

// The scenarios meet all other names.
TEST(Init, ComposesLocksAndAddressesFromTheStringResources) {
    const GlobalVars vars = InitFrom(
        {{129, L"Big App"}, {130, L"small"}, {133, L"https://base.example"}, {134, L"/pre"}});
    const std::wstring expected[][2] = {
        {vars.installerLockName, L"small.installer.lock"},
        {vars.uninstallerLockName, L"small.uninstaller.lock"},
        {vars.manifestUrl, L"https://base.example/pre/download/win/manifest.json"},
        {vars.offlineInstallerUrl,
         L"https://base.example/pre/api/v1/service/offlineinstaller?app=quorvane&arch="},
        {vars.reportErrorPath, L"/pre/api/v1/service/reporterror"},
    };
    for (const auto& row : expected) {
        EXPECT_EQ(row[0], row[1]);
    }
}

TEST(Init, CutsThePortAndKnowsTheSchemeByItsExactStart) {
    const std::pair<const wchar_t*, std::uint16_t> ports[] = {
        {L"443", 443}, {L"65535", 65535}, {L"70000", 4464}, {L"x", 0}, {L"", 0}};
    for (const auto& [text, port] : ports) {
        EXPECT_EQ(InitFrom({{132, text}}).serverPort, port) << text;
    }
    const std::pair<const wchar_t*, DWORD> urls[] = {{L"https://a", 0x803000}, {L"HTTPS://a", 0},
                                                     {L"http://a", 0},         {L" https://a", 0},
                                                     {L"a?https://", 0},       {L"https:/", 0}};
    for (const auto& [url, flags] : urls) {
        EXPECT_EQ(InitFrom({{133, url}}).internetFlags, flags) << url;
    }
}
