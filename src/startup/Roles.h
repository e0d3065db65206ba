#pragma once

/// The parts of the entry point that do a role's work of their own.

/// Copies the running uninstaller to the temporary folder, out of the folder that it is about to
/// delete, and starts the copy. 0 when the copy was started or already runs, also when
/// the start failed; -1, with the reason in the log, when there is no copy.
int CopyAndRestartItself();

/// Makes the temporary folder the working directory.
void SetTempDirAsCurrent();

/// Lists in the log which processes hold files of the installation and of the unpacked archive.
/// False when the paths could not be built.
bool ListOpenedFiles();
