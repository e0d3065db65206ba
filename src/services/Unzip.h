#pragma once

/// Unpacks a zip file into `folder`, which is cleared first, by letting the Shell copy the
/// items of the zip folder; then removes the zip file. Blocks until the copy has ended, without a
/// window.
///
/// -1 when the work did not start (no such file, destination cannot be cleared or made) or an
/// exception ended it; 0 when the Shell's sequence has run, whatever came of it: its HRESULT goes
/// to the log only, and whether files arrived shows in what they should contain.
int UnzipToFolder(const wchar_t* zipPath, const wchar_t* folder);
