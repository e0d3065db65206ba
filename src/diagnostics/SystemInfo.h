#pragma once

#include <string>

/// Sections of the error report. None of them fails: what cannot be found out leaves its piece of
/// the text empty. The two version notes are written by the operation, on its thread, and read when
/// the report is composed, before or after the operation.

/// "windows 10.0.0 64-bit"; the third number is the service pack.
std::wstring GetOsInfo();

/// "num of cpu: 8, arch: 9, level; 6, revision: 15882", the numbers being the platform's.
std::wstring GetCpuInfo();

/// "total: 17088454656, free: 9313304576", physical memory in bytes.
std::wstring GetMemoryInfo();

/// "lm ver: 1.2.3 old lm: 1.2.2, installer ver: 1.0.0.0". While no operation has noted a version,
/// the one of the uninstall entry is noted.
std::wstring GetVersionsInfo(const wchar_t* appGuid);

/// The temporary and the two application data folders, each on a line of its own.
std::wstring GetEnvironmentInfo();

std::wstring GetExecutablePath();
std::wstring GetCurrentDirectoryText();

/// Notes the version that is being installed or, in an uninstall, removed.
void SetReportNewVersion(const std::wstring& text);

/// Notes the version that was installed before the operation began.
void SetReportOldVersion(const std::wstring& text);
