#pragma once

/// A process that the program under test has started: a copy of itself, the sample's programs.

#include <windows.h>

#include <string>

#include "scenarios/SetupRun.h"

class OtherProgram : public ScenarioProcess {
  public:
    /// Waits for a running program with this file name, other than the given process; a failure of
    /// the test when none comes.
    explicit OtherProgram(const std::wstring& exeName, DWORD except = 0);

    /// As it was started with; a failure of the test when it has none.
    std::wstring CommandLine() const;

    /// It has a handle of that process open, as one that waits for its end.
    bool HasHandleOf(DWORD otherId) const;

  private:
    std::wstring ReadCommandLine() const;
};

/// Waits until no program with this file name runs; a failure of the test when one stays.
void WaitUntilNoneRuns(const std::wstring& exeName);
