#pragma once

#include <string>
#include <string_view>

/// Whether the system takes a file of this name, whatever its folder and extension, for a device.
/// The list is that of "Naming Files, Paths, and Namespaces" in the platform's documentation, with
/// the console's own names.
bool IsDeviceName(std::wstring name);

/// Judges one component of a path. Returns null when Windows can have a file of this name,
/// otherwise what is expected of it.
const char* JudgeFileName(std::wstring_view name);
