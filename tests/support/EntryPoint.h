#pragma once

#include <windows.h>

#include <string>

/// Lets a 32-bit process that was created suspended run up to its entry point, loads a library into
/// it and leaves it suspended there, with its imports bound and none of its own code run. False
/// when the process ended, the library did not load or 20 seconds went by.
bool LoadLibraryBeforeEntry(const PROCESS_INFORMATION& process, const std::wstring& library);
