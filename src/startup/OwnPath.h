#pragma once

#include <string>

/// Full path of the running program's file, for steps that copy or delete it. Argument 0 may be
/// relative, and the working directory changes at the start of the run, so it serves only when the
/// system does not tell the path. Empty when neither is there.
std::wstring OwnPath();
