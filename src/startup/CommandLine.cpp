#include "startup/CommandLine.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <cwchar>
#include <string>

#include "base/DecimalText.h"
#include "base/GlobalVars.h"
#include "base/Log.h"

namespace {

struct ArgumentWalk {
    int count;
    wchar_t* const* arguments;
    int index;

    const wchar_t* Current() const {
        return arguments[index];
    }

    // The element behind the current one, or null.
    const wchar_t* Peek() const {
        return index + 1 < count ? arguments[index + 1] : nullptr;
    }

    // The same, and the walk goes on behind it.
    const wchar_t* Take() {
        return index + 1 < count ? arguments[++index] : nullptr;
    }
};

int NumberOrZero(const wchar_t* text) {
    int number = 0;
    ParseNumber(text, number);
    return number;
}

void SetOperation(GlobalVars& vars, int install, int uninstall, int update) {
    vars.runInstall = install;
    vars.runUninstall = uninstall;
    vars.runUpdate = update;
}

void ReadModuleName(const wchar_t* path, GlobalVars& vars) {
    wchar_t name[MAX_PATH];
    if (path == nullptr ||
        _wsplitpath_s(path, nullptr, 0, nullptr, 0, name, MAX_PATH, nullptr, 0) != 0) {
        return;
    }
    if (_wcsicmp(name, L"uninstall") == 0) {
        vars.moduleIsUninstall = 1;
        globalVarsLog.Info(L"module has uninstall name");
    }
    vars.moduleName = name;
}

void ReadRunAs(ArgumentWalk& walk, GlobalVars& vars) {
    globalVarsLog.Info(L"args has --runas flag");
    vars.isRunAs = 1;
    if (const wchar_t* value = walk.Take()) {
        vars.waitPid = NumberOrZero(value);
    }
}

void ReadUninstall(ArgumentWalk& walk, GlobalVars& vars) {
    globalVarsLog.Info(L"args has --uninstall flag");
    SetOperation(vars, 0, 1, 0);
    const wchar_t* value = walk.Peek();
    if (value != nullptr && vars.waitPid == 0 && ParseNumber(value, vars.waitPid)) {
        walk.Take();
    }
}

void ReadPid(ArgumentWalk& walk, GlobalVars& vars) {
    globalVarsLog.Info(L"args has --pid flag");
    if (const wchar_t* value = walk.Peek()) {
        vars.waitPid = 0;
        if (ParseNumber(value, vars.waitPid)) {
            walk.Take();
        }
    }
}

void ReadAppPid(ArgumentWalk& walk, GlobalVars& vars) {
    if (const wchar_t* value = walk.Take()) {
        vars.appPid = NumberOrZero(value);
    }
    globalVarsLog.Info(L"args has --app-pid " + DecimalText(static_cast<unsigned>(vars.appPid)));
}

void ReadAppStartArgs(ArgumentWalk& walk, GlobalVars& vars) {
    if (const wchar_t* value = walk.Take()) {
        vars.appStartArgs = value;
    }
    globalVarsLog.Info(L"args has --app-start-args " + vars.appStartArgs);
}

bool IsFlag(const ArgumentWalk& walk, const wchar_t* flag) {
    return _wcsicmp(walk.Current(), flag) == 0;
}

// False when the argument is none of the operation flags.
bool ReadOperationFlag(ArgumentWalk& walk, GlobalVars& vars) {
    if (IsFlag(walk, L"--install")) {
        globalVarsLog.Info(L"args has --install flag");
        SetOperation(vars, 1, 0, 0);
    } else if (IsFlag(walk, L"--uninstall")) {
        ReadUninstall(walk, vars);
    } else if (IsFlag(walk, L"--update")) {
        globalVarsLog.Info(L"args has --update flag");
        SetOperation(vars, 0, 0, 1);
        if (const wchar_t* value = walk.Take()) {
            vars.updateFilesPath = value;
        }
    } else {
        return false;
    }
    return true;
}

// False when the argument is none of the flags that add up in any order.
bool ReadOptionFlag(ArgumentWalk& walk, GlobalVars& vars) {
    if (IsFlag(walk, L"--runas")) {
        ReadRunAs(walk, vars);
    } else if (IsFlag(walk, L"--generate-report")) {
        globalVarsLog.Info(L"args has --generate-report flag");
        vars.generateReport = 1;
    } else if (IsFlag(walk, L"--pid")) {
        ReadPid(walk, vars);
    } else if (IsFlag(walk, L"--app-folder")) {
        globalVarsLog.Info(L"args has --app-folder flag");
        walk.Take();
    } else if (IsFlag(walk, L"--console")) {
        globalVarsLog.Info(L"args has --console flag");
        vars.showConsole = 1;
    } else if (IsFlag(walk, L"--app-pid")) {
        ReadAppPid(walk, vars);
    } else if (IsFlag(walk, L"--start-app-invisible")) {
        globalVarsLog.Info(L"args has --start-app-invisible flag");
        vars.startAppInvisible = 1;
    } else if (IsFlag(walk, L"--app-start-args")) {
        ReadAppStartArgs(walk, vars);
    } else if (IsFlag(walk, L"--autoupdate")) {
        globalVarsLog.Info(L"args has --autoupdate flag");
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool ParseNumber(const wchar_t* text, int& number) {
    wchar_t* end = nullptr;
    errno = 0;
    const long value = wcstol(text, &end, 10);
    if (end == text || errno == ERANGE) {
        return false;
    }
    number = static_cast<int>(value);
    return true;
}

void ParseArguments(int count, wchar_t* const* arguments, GlobalVars& vars) {
    if (count < 1) {
        return;
    }
    ReadModuleName(arguments[0], vars);
    for (ArgumentWalk walk{count, arguments, 1}; walk.index < walk.count; ++walk.index) {
        if (!ReadOperationFlag(walk, vars) && !ReadOptionFlag(walk, vars)) {
            globalVarsLog.Warn(std::wstring(L"arg: ") + walk.Current());
        }
    }
}

void ParseCommandLine(GlobalVars& vars) {
    ParseArguments(__argc, __wargv, vars);
}
