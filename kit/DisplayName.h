#pragma once

#include <string>

/// Judges a product's display name. Returns null when it fits, otherwise what is expected of it.
///
/// The name is that of folders, programs and windows: the product lives in %LOCALAPPDATA%\NAME and
/// %APPDATA%\NAME, which an uninstall deletes, and in NAME.exe; processes of that name, and those
/// whose path begins with %LOCALAPPDATA%\NAME, are ended. Names that the system or the setup itself
/// uses there are refused.
const char* JudgeDisplayName(const std::wstring& name);
