#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kit/Failure.h"
#include "kit/Findings.h"
#include "kit/Identity.h"

constexpr int exitDone = 0, exitFailed = 1, exitUsage = 2;

/// An option with a value, for which `take` is called as often as it is given; it tells what is
/// wrong with the value.
struct CommandOption {
    std::wstring flag;
    std::function<Failure(const std::wstring& value)> take;
};

/// A program of the kit as it is called: its options beside --check and --help, and what it does.
struct Command {
    std::string name;
    std::string help;
    std::vector<CommandOption> options;
    /// Tells what is wrong with the call as a whole.
    std::function<Failure(bool checkOnly)> judge;
    /// Returns the exit code.
    std::function<int(bool checkOnly)> run;
};

/// Takes the arguments and runs the command, or prints its help or what is wrong with the call.
/// Returns the exit code.
int RunCommand(const Command& command, int count, wchar_t** arguments);

/// An option whose value is a path, one whose value is text, and --set KEY=VALUE.
CommandOption PathOption(const wchar_t* flag, std::wstring& path);
CommandOption TextOption(const wchar_t* flag, std::string& text);
CommandOption SetOption(Settings& settings);

/// Prints an error under the command's name; gives the exit code back.
int Fail(const Command& command, int code, const std::string& text);

/// Prints a line for each, as far as a reader can be expected to go on.
void PrintFindings(const Findings& findings);
