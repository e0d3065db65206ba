#pragma once

#include <windows.h>

/// Asks every Explorer window that shows `path`, a folder below it or one whose path merely begins
/// with it to close, ignoring case, and does not wait for them. Best effort: returns the HRESULT of
/// the last step done, which serves the log only and may be that of a window passed over.
HRESULT CloseWindowsExplorerWindowsForPath(const wchar_t* path);
