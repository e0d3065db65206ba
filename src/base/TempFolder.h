#pragma once

#include <windows.h>

/// The folder for temporary files, with a backslash at its end. False, with `path` undefined, when
/// the system does not tell it or it does not fit.
bool GetTempFolder(wchar_t (&path)[MAX_PATH]);
