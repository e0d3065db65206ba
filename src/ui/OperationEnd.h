#pragma once

#include <windows.h>

class CProgressObject;
class ErrorReport;

/// Acts on the end of an operation: sends the report of a failure and shows at most one box above
/// `window`. Blocks until both are done.
void FinishOperation(HWND window, const CProgressObject& progress, ErrorReport& errorReport);

/// The box that tells of a failed operation; an update shows none.
void ShowFailure(HWND window, int operation);

/// Opens, in the user's browser, the address of the full installer for this system.
void OpenFullInstallerPage();
