#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kit/Findings.h"

constexpr int exitDone = 0, exitFailed = 1, exitUsage = 2;

/// An option with a value, for which `take` is called as often as it is given.
struct ProgramOption {
    std::wstring flag;
    std::function<void(const wchar_t* value)> take;
};

/// A program of the kit: its options beside --check and --help, and what it does.
struct Program {
    std::string name;
    std::string help;
    std::vector<ProgramOption> options;
    /// Returns an empty text, or what is wrong with the call as a whole.
    std::function<std::string(bool checkOnly)> judge;
    /// Returns the exit code.
    std::function<int(bool checkOnly)> run;
};

/// Takes the arguments and runs the program, or prints its help or what is wrong with the call.
int RunProgram(const Program& program, int count, wchar_t** arguments);

/// An option whose value is a path.
ProgramOption PathOption(const wchar_t* flag, std::wstring& path);

/// Prints an error under the program's name; gives the exit code back.
int Fail(const Program& program, int code, const std::string& text);

/// Prints a line for each, as far as a reader can be expected to go on.
void PrintFindings(const Findings& findings);
