#pragma once

#include <string>

/// Path of the running program's file, for steps that copy or delete it. Argument 0 may be
/// relative, and the working directory changes at the start of the run, so the path is taken before
/// that.
const std::wstring& OwnPath();

/// Asks the system for the path; argument 0, made a full path, stands in when it does not tell. To
/// be called before the working directory changes.
void RememberOwnPath();
