#include "startup/CommandLine.h"

#include <windows.h>
#include <shellapi.h>

#include "base/GlobalVars.h"
#include "resources/ResourceIds.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

// Every option that a command line sets, by name, and "?" for each argument that is none.
std::wstring OptionsOf(const std::wstring& line, const std::wstring& program = L"app.exe ") {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW((program + line).c_str(), &count);
    GlobalVars vars;
    const LogCapture log;
    ParseArguments(count, arguments, vars);
    std::wstring text = vars.moduleIsUninstall ? L"by name " : L"";
    text += vars.runInstall ? L"install " : L"";
    text += vars.runUninstall ? L"uninstall " : L"";
    text += vars.runUpdate ? L"update " : L"";
    text += vars.showConsole ? L"console " : L"";
    text += vars.isRunAs ? L"runas " : L"";
    text += vars.generateReport ? L"report " : L"";
    text += vars.startAppInvisible ? L"invisible " : L"";
    text += vars.waitPid ? L"wait=" + std::to_wstring(vars.waitPid) + L" " : L"";
    text += vars.appPid ? L"app=" + std::to_wstring(vars.appPid) + L" " : L"";
    text += vars.updateFilesPath ? L"path=" + std::wstring(vars.updateFilesPath) + L" " : L"";
    text += vars.appStartArgs.empty() ? L"" : L"start=" + vars.appStartArgs + L" ";
    LocalFree(arguments);
    return text + std::wstring(log.Count(L"WARN GlobalVars arg: "), L'?');
}

}  // namespace

TEST(ParseArguments, ReadsEveryFlagByItsRule) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"--uninstall 0 1234", L"uninstall ?"},
        {L"--uninstall 7 --uninstall 5", L"uninstall wait=7 ?"},
        {L"--runas abc --install", L"install runas "},
        {L"--pid 5 --runas --console", L"install runas "},
        {L"--pid 10 --uninstall 20", L"uninstall wait=10 ?"},
        {L"--uninstall 20 --pid abc", L"uninstall ?"},
        {L"--uninstall 20 --pid", L"uninstall wait=20 "},
        {L"--pid 012abc", L"install wait=12 "},
        {L"--pid \" \t-7\"", L"install wait=-7 "},
        {L"--pid 2147483647", L"install wait=2147483647 "},
        {L"--pid 2147483648", L"install ?"},
        {L"--install --update x", L"update path=x "},
        {L"--uninstall --Update x --install", L"install path=x "},
        {L"--app-folder", L"install "},
        {L"--app-pid 5 --app-pid", L"install app=5 "},
        {L"--app-pid 5 --app-pid --console", L"install "},
        {L"--app-start-args", L"install "},
        {L"--autoupdate --app-folder --console --app-pid -1 --generate-report",
         L"install report app=-1 "},
        {L"--start-app-invisible --app-start-args \"--a b\"", L"install invisible start=--a b "},
        {L"install --consoles \"\"", L"install ???"},
    };
    for (const auto& [line, options] : cases) {
        EXPECT_EQ(OptionsOf(line), options) << line;
    }
    EXPECT_EQ(OptionsOf(L"", L"\"C:\\a b\\UNINSTALL.EXE\""), L"by name install ");
    EXPECT_EQ(OptionsOf(L"", L"C:/x/uninstaller.exe"), L"install ");
    EXPECT_EQ(OptionsOf(L"", L"Some.uninstall.exe"), L"install ");
}

// What the scenarios' product with a prefix does not show.
TEST(Init, PutsThePathPrefixIntoTheLinkToTheFullInstaller) {
    const Replaced strings = Replace(LoadStringW, [](auto, auto, UINT id, LPWSTR text, int) {
        return lstrlenW(lstrcpyW(text, id == IDS_PATH_PREFIX ? L"/pre" : L""));
    });
    GlobalVars vars;
    vars.Init();
    EXPECT_TRUE(vars.offlineInstallerUrl.starts_with(L"/pre/api/v1/service/offlineinstaller?"));
}
