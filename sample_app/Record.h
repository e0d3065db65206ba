#pragma once

#include <string>

/// Appends a line of UTF-8 to the file, unless that has no name, and also to the one that the
/// environment variable SAMPLE_RECORD names. Best effort.
void RecordLine(std::wstring line, const std::wstring& path);

/// The same with this process's command line, exactly as the system gives it.
void RecordStart(const std::wstring& path);
