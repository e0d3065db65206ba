#pragma once

#include <string>
#include <string_view>

#include "kit/Failure.h"

/// Whether the system takes a file of this name, whatever its folder and extension, for a device.
/// The list is that of "Naming Files, Paths, and Namespaces" in the platform's documentation, with
/// the console's own names.
bool IsDeviceName(std::wstring name);

/// Judges one component of a path. Tells what is expected of it when Windows cannot have a file of
/// this name.
Failure JudgeFileName(std::wstring_view name);
