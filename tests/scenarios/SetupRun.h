#pragma once

/// One run of the setup program in a scenario.

#include <windows.h>

#include <string>
#include <vector>

#include "support/BoxDriver.h"
#include "support/Interception.h"

struct SetupCall {
    std::wstring arguments{};
    std::vector<InterceptionRow> interceptions{};
    std::wstring program{};      // full path; the setup program of Prepared.h when empty
    std::wstring commandName{};  // argument 0 as given; the full path when empty
    std::wstring startFolder{};  // the current one when empty
    bool isPlainUser = false;    // without administrator rights
};

struct BoxAnswer {
    const char* text;  // of the product's table
    int button;
};

class ScenarioProcess {
  public:
    ScenarioProcess() = default;
    ~ScenarioProcess() {
        CloseHandle(process);
    }
    ScenarioProcess(const ScenarioProcess&) = delete;
    ScenarioProcess& operator=(const ScenarioProcess&) = delete;

    /// Waits for the end and gives the exit code; a failure of the test after a minute.
    int WaitForEnd();

    /// Waits for a box with this text of the product's table (such as "TextUpToDateContinue") under
    /// the installer's title and presses the button. A failure of the test when it does not come.
    void Answer(const char* text, int button);

    /// Answers the boxes in this order, and waits for the end with the exit code 0.
    void Finish(const std::vector<BoxAnswer>& answers = {});

    HANDLE process = nullptr;
    DWORD processId = 0;
};

class SetupRun : public ScenarioProcess {
  public:
    /// Starts the program; a failure of the test when that does not work.
    explicit SetupRun(SetupCall call);
    SetupRun(const std::wstring& arguments, const std::vector<InterceptionRow>& interceptions = {})
        : SetupRun(SetupCall{.arguments = arguments, .interceptions = interceptions}) {}
    /// Ends the program when it still runs, which is a failure of the test.
    ~SetupRun();

    Interceptions interceptions;
};

/// ScenarioProcess::Answer for any process, in any language of the table.
void AnswerBox(HANDLE process, const char* text, int button, const char* language);
inline void AnswerBox(HANDLE process, const char* text, int button) {
    AnswerBox(process, text, button, "en");
}

/// The product's window, once its status line shows this text of the table.
HWND WaitForStatus(HANDLE process, const char* text, const char* language = "en");

/// The window gives its answer to the close message, without a question, and stays.
void ExpectCloseIgnored(HWND window);

/// Runs to the end, without a box; gives the exit code.
int RunSetup(const std::wstring& arguments);

/// Runs with the window, answers the boxes in this order, and gives the head of the report on the
/// failure as the server received it: what failed, without the system's own words for the error.
/// Empty when none came.
std::string RunInWindow(const SetupCall& call, const std::vector<BoxAnswer>& answers = {});

/// The same for an install that fails: its one box says so.
std::string RunFailing(const SetupCall& call = {});

/// Puts the copy of the uninstaller in its place; gives the start of it.
SetupCall UninstallCopy(const std::vector<InterceptionRow>& interceptions = {});

/// The heads of the reports that the server has received; see RunInWindow.
std::vector<std::string> ReportHeads();

/// Head of the report that a run asks a second process for when a file is blocked.
constexpr char processReportHead[] = "Отчет по процессам";

/// A folder cannot be moved, for so many passes: the plain call (5 a pass), the shell's (6), and
/// the pauses between them (9). Wine renames a folder that holds open files, and its shell says
/// that it moved one that is held.
std::vector<InterceptionRow> BlockedMove(const std::wstring& from, LONG passes = everyCall);

/// Head of the report on that, in this stage.
std::string MoveFailure(const std::string& stage, const std::wstring& from, const std::wstring& to);
