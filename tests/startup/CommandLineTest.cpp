#include "startup/CommandLine.h"

#include <windows.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include "startup/GlobalVars.h"
#include "support/Scratch.h"

namespace {

GlobalVars Parse(const std::wstring& line) {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW((L"app.exe " + line).c_str(), &count);
    GlobalVars vars;
    ParseArguments(count, arguments, vars);
    LocalFree(arguments);
    return vars;
}

// Every option that is set, by name.
std::wstring Describe(const GlobalVars& vars) {
    const std::pair<int, const wchar_t*> flags[] = {
        {vars.runInstall, L"install "},
        {vars.runUninstall, L"uninstall "},
        {vars.runUpdate, L"update "},
        {vars.showConsole, L"console "},
        {vars.isRunAs, L"runas "},
        {vars.generateReport, L"report "},
        {vars.startAppInvisible, L"invisible "},
    };
    std::wstring text;
    for (const auto& [isSet, name] : flags) {
        text += isSet ? name : L"";
    }
    text += vars.waitPid ? L"wait=" + std::to_wstring(vars.waitPid) + L" " : L"";
    text += vars.appPid ? L"app=" + std::to_wstring(vars.appPid) + L" " : L"";
    text += vars.updateFilesPath ? L"path=" + std::wstring(vars.updateFilesPath) + L" " : L"";
    return text + (vars.appStartArgs.empty() ? L"" : L"start=" + vars.appStartArgs + L" ");
}

}  // namespace

TEST(ParseArguments, ReadsEveryFlagByItsRule) {
    const struct {
        const wchar_t* line;
        const wchar_t* options;
        int unknown = 0;
    } cases[] = {
        {L"--uninstall 0 1234", L"uninstall ", 1},
        {L"--uninstall 7 --uninstall 5", L"uninstall wait=7 ", 1},
        {L"--runas abc --install", L"install runas "},
        {L"--pid 5 --runas --console", L"install runas "},
        {L"--pid 10 --uninstall 20", L"uninstall wait=10 ", 1},
        {L"--uninstall 20 --pid abc", L"uninstall ", 1},
        {L"--uninstall 20 --pid", L"uninstall wait=20 "},
        {L"--pid 12abc", L"install wait=12 "},
        {L"--pid \" \t-7\"", L"install wait=-7 "},
        {L"--pid 2147483647", L"install wait=2147483647 "},
        {L"--pid 2147483648", L"install ", 1},
        {L"--pid=5", L"install ", 1},
        {L"--install --update x --uninstall", L"uninstall path=x "},
        {L"--uninstall --Update x --install", L"install path=x "},
        {L"--app-folder --console", L"install "},
        {L"--app-folder", L"install "},
        {L"--app-pid -1", L"install app=-1 "},
        {L"--app-pid 5 --app-pid", L"install app=5 "},
        {L"--app-pid 5 --app-pid --console", L"install "},
        {L"--app-start-args \"--a b\"", L"install start=--a b "},
        {L"--app-start-args", L"install "},
        {L"--start-app-invisible --generate-report", L"install report invisible "},
        {L"install --consoles \"\"", L"install ", 3},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.line);
        const LogCapture log;
        EXPECT_EQ(Describe(Parse(row.line)), row.options);
        EXPECT_EQ(log.Count(L"WARN GlobalVars arg: "), row.unknown);
    }
    const LogCapture log;
    Parse(L"--app-pid -1 x");
    EXPECT_EQ(log.Lines(),
              L"INFO GlobalVars args has --app-pid 4294967295\nWARN GlobalVars arg: x\n");
}

TEST(ParseArguments, TakesTheModuleNameFromElementZero) {
    const std::wstring tooLong(300, L'n');
    const struct {
        const wchar_t* path;
        const wchar_t* name;
        int isUninstall;
    } cases[] = {
        {L"C:\\a b\\UNINSTALL.EXE", L"UNINSTALL", 1},
        {L"C:/x/uninstaller.exe", L"uninstaller", 0},
        {L"Some.uninstall.exe", L"Some.uninstall", 0},
        {tooLong.c_str(), L"before", 0},
        {nullptr, L"before", 0},
    };
    for (const auto& row : cases) {
        GlobalVars vars;
        vars.moduleName = L"before";
        wchar_t* arguments[] = {const_cast<wchar_t*>(row.path)};
        ParseArguments(1, arguments, vars);
        EXPECT_EQ(vars.moduleName, row.name);
        EXPECT_EQ(vars.moduleIsUninstall, row.isUninstall) << row.name;
    }
}
