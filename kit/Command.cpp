#include "kit/Command.h"

#include <algorithm>

#include "kit/Console.h"
#include "kit/Files.h"

namespace {

constexpr std::size_t mostFindings = 40;

struct Call {
    bool checkOnly = false;
    bool wantsHelp = false;
};

Failure ParseArguments(const Command& command, int count, wchar_t** arguments, Call& call) {
    for (int i = 1; i < count; ++i) {
        const std::wstring argument = arguments[i];
        const auto option =
            std::find_if(command.options.begin(), command.options.end(),
                         [&](const CommandOption& known) { return known.flag == argument; });
        if (argument == L"--help" || argument == L"-h") {
            call.wantsHelp = true;
        } else if (argument == L"--check") {
            call.checkOnly = true;
        } else if (option == command.options.end()) {
            return "unknown argument " + Narrow(argument);
        } else if (++i == count) {
            return "no value behind " + Narrow(argument);
        } else if (Failure failure = option->take(arguments[i])) {
            return failure;
        }
    }
    return command.judge(call.checkOnly);
}

}  // namespace

int RunCommand(const Command& command, int count, wchar_t** arguments) {
    Call call;
    const Failure failure = ParseArguments(command, count, arguments, call);
    if (call.wantsHelp) {
        PrintLine(command.help);
        return exitDone;
    }
    if (failure) {
        return Fail(command, exitUsage, *failure + "; see " + command.name + " --help");
    }
    return command.run(call.checkOnly);
}

CommandOption PathOption(const wchar_t* flag, std::wstring& path) {
    return {flag, [&path](const std::wstring& value) {
                path = FromHostPath(value);
                return Failure();
            }};
}

CommandOption TextOption(const wchar_t* flag, std::string& text) {
    return {flag, [&text](const std::wstring& value) {
                text = Narrow(value);
                return Failure();
            }};
}

CommandOption SetOption(Settings& settings) {
    return {L"--set",
            [&settings](const std::wstring& value) { return AddSetting(Narrow(value), settings); }};
}

int Fail(const Command& command, int code, const std::string& text) {
    PrintErrorLine(command.name + ": " + text);
    return code;
}

void PrintFindings(const Findings& findings) {
    const std::size_t shown = std::min(findings.size(), mostFindings);
    for (std::size_t i = 0; i < shown; ++i) {
        PrintErrorLine(FormatFinding(findings[i]));
    }
    if (shown < findings.size()) {
        PrintErrorLine("... and " + std::to_string(findings.size() - shown) + " more");
    }
}
