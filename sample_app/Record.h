#pragma once

#include <string>

/// Appends this process's command line, exactly as the system gives it, as one line of UTF-8 to the
/// file and also to the one that the environment variable SAMPLE_RECORD names. Best effort.
void RecordStart(const std::wstring& path);
