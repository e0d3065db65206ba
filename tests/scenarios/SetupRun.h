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

class SetupRun {
  public:
    /// Starts the program; a failure of the test when that does not work.
    explicit SetupRun(SetupCall call);
    SetupRun(const std::wstring& arguments, const std::vector<InterceptionRow>& interceptions = {})
        : SetupRun(SetupCall{.arguments = arguments, .interceptions = interceptions}) {}
    /// Ends the program when it still runs, which is a failure of the test.
    ~SetupRun();
    SetupRun(const SetupRun&) = delete;
    SetupRun& operator=(const SetupRun&) = delete;

    /// Waits for the end and gives the exit code; a failure of the test after a minute.
    int WaitForEnd();

    /// Waits for a box with this text of the product's table (such as "TextUpToDateContinue") under
    /// the installer's title and presses the button. A failure of the test when it does not come.
    void Answer(const char* text, int button);

    HANDLE process = nullptr;
    DWORD processId = 0;
    Interceptions interceptions;
};

/// SetupRun::Answer for a process that another one has started.
void AnswerBox(HANDLE process, const char* text, int button);

/// Runs to the end, without a box; gives the exit code.
int RunSetup(const std::wstring& arguments, const std::vector<InterceptionRow>& interceptions = {});

struct BoxAnswer {
    const char* text;  // of the product's table
    int button;
};

/// Runs with the window, answers the boxes in this order, and gives the head of the report on the
/// failure as the server received it: what failed, without the system's own words for the error.
/// Empty when none came.
std::string RunInWindow(const SetupCall& call, const std::vector<BoxAnswer>& answers);

/// The heads of the reports that the server has received; see RunInWindow.
std::vector<std::string> ReportHeads();

/// Head of the report that a run asks a second process for when a file is blocked.
constexpr char processReportHead[] = "Отчет по процессам";
