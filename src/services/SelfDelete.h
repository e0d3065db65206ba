#pragma once

/// Leaves a command script, run without a window, behind in the temporary folder that deletes the
/// file `path` and then itself as soon as this process has ended. Does not wait. A failure is
/// silent: the file stays.
void SelfDelete(const wchar_t* path);
