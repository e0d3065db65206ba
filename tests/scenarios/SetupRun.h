#pragma once

/// One run of the setup program in a scenario, the processes that come of it, and the other ones.

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "driver/BoxDriver.h"
#include "scenarios/Prepared.h"
#include "support/Interception.h"

struct ScenarioRow;

/// A program of the run.
class ScenarioProcess {
  public:
    ScenarioProcess() = default;
    /// Waits for a running program with this file name, other than the given process; a failure of
    /// the test when none comes.
    explicit ScenarioProcess(const std::wstring& exeName, DWORD except = 0);
    ~ScenarioProcess() {
        CloseHandle(process);
    }
    ScenarioProcess(const ScenarioProcess&) = delete;
    ScenarioProcess& operator=(const ScenarioProcess&) = delete;

    /// Waits for the end and gives the exit code; a failure of the test after a minute.
    int WaitForEnd();
    /// It has a handle of that process open, as one that waits for its end.
    bool HasHandleOf(DWORD otherId) const;

    DWORD processId = 0;
    HANDLE process = nullptr;
};

class SetupRun : public ScenarioProcess {
  public:
    /// Starts what the row says of the run itself; a failure of the test when that does not work.
    explicit SetupRun(const ScenarioRow& row);
    /// Ends the program when it still runs, which is a failure of the test.
    ~SetupRun();

    Interceptions interceptions;
};

/// The product's window, once its status line shows this text of the table.
HWND WaitForStatus(HANDLE process, const char* text, const std::string& language = "en");

/// The window gives its answer to the close message, without a question, and stays.
void ExpectCloseIgnored(HWND window);

/// Runs to the end, without a box; gives the exit code.
int RunSetup(const std::string& arguments, const std::string& program = "{setup}");

/// A folder cannot be moved, for so many passes: the plain call (5 a pass), the shell's (6), and
/// the pauses between them (9). Wine renames a folder that holds open files, and its shell says
/// that it moved one that is held.
std::vector<InterceptionRow> BlockedMove(const std::wstring& from, LONG passes = 100);

struct RunningProgram {
    DWORD processId;
    std::wstring path;
    bool operator==(const RunningProgram&) const = default;
};

/// All that run with this file name.
std::vector<RunningProgram> ListPrograms(const std::wstring& exeName);

/// Those that come from {work}, {volume} or a user's folder, but for this one; and the command
/// processors.
std::vector<RunningProgram> OwnPrograms();

/// Each of them still runs.
bool AllRun(const std::vector<RunningProgram>& programs);

/// Starts the application that is installed, and waits for its five processes.
void StartApplication(const Places& places = GetPlaces());

/// The path lies in the folder.
bool IsBelow(const std::wstring& path, const std::wstring& folder);

/// Ends what scenarios have started.
void EndPrograms();
