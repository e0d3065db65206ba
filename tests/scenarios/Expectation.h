#pragma once

/// What a row says of the machine after its run, and what follows from that.

#include "scenarios/ScenarioRow.h"

/// The run has a window, which its boxes lie on.
bool HasWindow(const ScenarioRow& row);

/// Reports on open files: one when a question on a blocked file is among the steps, or asked for.
std::size_t ExpectedFileLists(const ScenarioRow& row);
State ExpectedState(const Stage& stage);
/// What the server sees, see SeenRequests.
Lines ExpectedRequests(const Stage& stage);
/// Of the programs of the archive, with # for a time within the run.
Lines ExpectedCalls(const Stage& stage);
Lines RecordedCalls(const Stage& stage);
/// The programs that are to run, but for those that ran beside the run.
std::vector<std::wstring> ExpectedPrograms(const Stage& stage);

/// Checks the pieces of a report, and the parts of the log where it is the last one.
void CheckReport(const std::string& report, const Stage& stage, bool isLast);

/// The heads of the reports that have come, but for those on open files.
Lines Failures();
