#pragma once

#include <string>

#include "kit/Failure.h"

/// Judges a product's display name. Tells what is expected of it when it does not fit.
///
/// The name is that of folders, programs and windows: the product lives in %LOCALAPPDATA%\NAME and
/// %APPDATA%\NAME, which an uninstall deletes, and in NAME.exe; processes of that name, and those
/// whose path begins with %LOCALAPPDATA%\NAME, are ended. Names that the system or the setup itself
/// uses there are refused.
Failure JudgeDisplayName(const std::wstring& name);
