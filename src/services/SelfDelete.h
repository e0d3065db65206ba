#pragma once

/// Leaves a command script, run without a window, behind in the temporary folder that deletes the
/// file `path` and then itself as soon as this process has ended. A path that the command processor
/// would not take as one word is moved into that folder under another name first. Does not wait. A
/// failure is silent: the file stays where it was.
void SelfDelete(const wchar_t* path);
