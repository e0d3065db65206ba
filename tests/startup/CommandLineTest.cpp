#include "startup/CommandLine.h"

#include <windows.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "startup/GlobalVars.h"
#include "support/Scratch.h"

namespace {

// Every option that is set, by name.
std::wstring Describe(const GlobalVars& vars) {
    std::wstring text;
    text += vars.runInstall ? L"install " : L"";
    text += vars.runUninstall ? L"uninstall " : L"";
    text += vars.runUpdate ? L"update " : L"";
    text += vars.showConsole ? L"console " : L"";
    text += vars.isRunAs ? L"runas " : L"";
    text += vars.startAppInvisible ? L"invisible " : L"";
    text += vars.generateReport ? L"report " : L"";
    text += vars.waitPid ? L"wait=" + std::to_wstring(vars.waitPid) + L" " : L"";
    text += vars.appPid ? L"app=" + std::to_wstring(vars.appPid) + L" " : L"";
    text += vars.updateFilesPath ? L"path=" + std::wstring(vars.updateFilesPath) + L" " : L"";
    text += vars.appStartArgs.empty() ? L"" : L"start=" + vars.appStartArgs + L" ";
    return text;
}

// The log without the words that all lines of the flags share, "|" for the end of a line.
std::wstring Shorten(std::wstring lines) {
    for (const std::wstring common : {L"INFO GlobalVars args has ", L" GlobalVars arg:"}) {
        for (std::size_t at; (at = lines.find(common)) != std::wstring::npos;) {
            lines.erase(at, common.size());
        }
    }
    std::replace(lines.begin(), lines.end(), L'\n', L'|');
    return lines;
}

}  // namespace

TEST(ParseArguments, ReadsEveryFlagByItsRule) {
    const struct {
        const wchar_t* line;
        const wchar_t* options;
        const wchar_t* log;
    } cases[] = {
        {L"", L"install ", L""},
        {L"--INSTALL", L"install ", L"--install flag|"},
        {L"--uninstall --console", L"uninstall console ", L"--uninstall flag|--console flag|"},
        {L"--uninstall 0 1234", L"uninstall ", L"--uninstall flag|WARN 1234|"},
        {L"--uninstall 7 --uninstall 5", L"uninstall wait=7 ",
         L"--uninstall flag|--uninstall flag|WARN 5|"},
        {L"--runas", L"install runas ", L"--runas flag|"},
        {L"--runas 77 --update", L"update runas wait=77 ", L"--runas flag|--update flag|"},
        {L"--runas abc --install", L"install runas ", L"--runas flag|--install flag|"},
        {L"--pid 5 --runas --console", L"install runas ", L"--pid flag|--runas flag|"},
        {L"--pid 10 --uninstall 20", L"uninstall wait=10 ",
         L"--pid flag|--uninstall flag|WARN 20|"},
        {L"--uninstall 20 --pid abc", L"uninstall ", L"--uninstall flag|--pid flag|WARN abc|"},
        {L"--uninstall 20 --pid", L"uninstall wait=20 ", L"--uninstall flag|--pid flag|"},
        {L"--pid 12abc", L"install wait=12 ", L"--pid flag|"},
        {L"--pid \" \t-7\"", L"install wait=-7 ", L"--pid flag|"},
        {L"--pid 2147483647", L"install wait=2147483647 ", L"--pid flag|"},
        {L"--pid 2147483648", L"install ", L"--pid flag|WARN 2147483648|"},
        {L"--pid=5", L"install ", L"WARN --pid=5|"},
        {L"--update --console", L"update path=--console ", L"--update flag|"},
        {L"--update", L"update ", L"--update flag|"},
        {L"--install --update x --uninstall", L"uninstall path=x ",
         L"--install flag|--update flag|--uninstall flag|"},
        {L"--uninstall --Update x --install", L"install path=x ",
         L"--uninstall flag|--update flag|--install flag|"},
        {L"--app-folder --console", L"install ", L"--app-folder flag|"},
        {L"--app-folder", L"install ", L"--app-folder flag|"},
        {L"--app-pid -1", L"install app=-1 ", L"--app-pid 4294967295|"},
        {L"--app-pid 5 --app-pid", L"install app=5 ", L"--app-pid 5|--app-pid 5|"},
        {L"--app-pid 5 --app-pid --console", L"install ", L"--app-pid 5|--app-pid 0|"},
        {L"--app-start-args \"--a b\"", L"install start=--a b ", L"--app-start-args --a b|"},
        {L"--app-start-args", L"install ", L"--app-start-args |"},
        {L"--start-app-invisible --autoupdate --generate-report", L"install invisible report ",
         L"--start-app-invisible flag|--autoupdate flag|--generate-report flag|"},
        {L"install --consoles \"\"", L"install ", L"WARN install|WARN --consoles|WARN |"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.line);
        int count = 0;
        wchar_t** arguments =
            CommandLineToArgvW((std::wstring(L"app.exe ") + row.line).c_str(), &count);
        GlobalVars vars;
        LogCapture log;
        ParseArguments(count, arguments, vars);
        EXPECT_EQ(Describe(vars), row.options);
        EXPECT_EQ(Shorten(log.Lines()), row.log);
        LocalFree(arguments);
    }
}

TEST(ParseArguments, TakesTheModuleNameFromElementZero) {
    std::wstring tooLong(300, L'n');
    const struct {
        const wchar_t* path;
        const wchar_t* name;
        int isUninstall;
    } cases[] = {
        {L"C:\\a b\\UNINSTALL.EXE", L"UNINSTALL", 1},
        {L"uninstall", L"uninstall", 1},
        {L"C:/x/uninstaller.exe", L"uninstaller", 0},
        {L"Some.uninstall.exe", L"Some.uninstall", 0},
        {L"C:\\uninstall\\", L"", 0},
        {tooLong.c_str(), L"before", 0},
        {nullptr, L"before", 0},
    };
    for (const auto& row : cases) {
        GlobalVars vars;
        vars.moduleName = L"before";
        wchar_t* arguments[] = {const_cast<wchar_t*>(row.path)};
        LogCapture log;
        ParseArguments(1, arguments, vars);
        EXPECT_EQ(vars.moduleName, row.name);
        EXPECT_EQ(vars.moduleIsUninstall, row.isUninstall) << row.name;
        EXPECT_EQ(log.Lines(),
                  row.isUninstall ? L"INFO GlobalVars module has uninstall name\n" : L"");
    }
}
