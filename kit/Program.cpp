#include "kit/Program.h"

#include <algorithm>

#include "kit/Console.h"
#include "kit/Files.h"

namespace {

constexpr std::size_t mostFindings = 40;

struct Call {
    bool checkOnly = false;
    bool wantsHelp = false;
};

/// Returns an empty text, or what is wrong with the arguments.
std::string ParseArguments(const Program& program, int count, wchar_t** arguments, Call& call) {
    for (int i = 1; i < count; ++i) {
        const std::wstring argument = arguments[i];
        const auto option =
            std::find_if(program.options.begin(), program.options.end(),
                         [&](const ProgramOption& known) { return known.flag == argument; });
        if (argument == L"--help" || argument == L"-h") {
            call.wantsHelp = true;
        } else if (argument == L"--check") {
            call.checkOnly = true;
        } else if (option == program.options.end()) {
            return "unknown argument " + Narrow(argument);
        } else if (++i == count) {
            return "no value behind " + Narrow(argument);
        } else {
            option->take(arguments[i]);
        }
    }
    return program.judge(call.checkOnly);
}

}  // namespace

int RunProgram(const Program& program, int count, wchar_t** arguments) {
    Call call;
    const std::string wrong = ParseArguments(program, count, arguments, call);
    if (call.wantsHelp) {
        PrintLine(program.help);
        return exitDone;
    }
    if (!wrong.empty()) {
        return Fail(program, exitUsage, wrong + "; see " + program.name + " --help");
    }
    return program.run(call.checkOnly);
}

ProgramOption PathOption(const wchar_t* flag, std::wstring& path) {
    return {flag, [&path](const wchar_t* value) { path = FromHostPath(value); }};
}

int Fail(const Program& program, int code, const std::string& text) {
    PrintErrorLine(program.name + ": " + text);
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
