#pragma once

#include <cstdint>
#include <string>

struct Version;

/// Reads the installed version. 0, or -1 after an ERROR line when the version file cannot be
/// opened, with `version` unchanged; a missing file gives -1.-1.-1.
int GetCurrentAppVersion(Version& version);

/// Arguments of the starter: `arguments` (may be null), the flag of a hidden start, what the caller
/// of the program handed on, and the time of the start unless that text brings one. Begins with a
/// blank.
std::wstring ComposeStartArguments(const wchar_t* arguments, bool startInvisible,
                                   const std::wstring& appStartArgs, std::uint64_t startTime);

/// Milliseconds since 1 January 1970, UTC.
std::uint64_t CurrentUnixMilliseconds();

/// The flag that tells the starter of a fresh install, at most 259 characters. False when it does
/// not fit.
bool ComposeInstallFlag(const std::wstring& moduleName, bool isOffline, std::wstring& flag);
