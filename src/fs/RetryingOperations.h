#pragma once

#include <string>

/// Deletes, moves, copies and renames that survive a file which another process holds open for a
/// moment: fixed numbers of attempts with 100 ms between them, on the calling thread.
///
/// Results: 0 is success, -1 failure; a missing source or path to delete is a success. Where a
/// caller asks for `showErrorDialog`, a failed pass starts a report run (once in the life of the
/// process) and asks the user; Retry starts the pass anew, without limit, and anything else fails
/// the operation. After -1 the thread's last error holds the shell's code, or ERROR_CANCELLED
/// when the shell reported success and has left out parts or not made the target.

/// Deletes a file or a folder tree for good, no recycle bin. A path with a `*` deletes the files it
/// matches and no folders. Up to 6 attempts.
int SHRemoveObject(const std::wstring& path, bool showErrorDialog);

/// One file or folder, up to 5 attempts of which only the first replaces an existing target or
/// moves across volumes. 0, or the last error of the last attempt.
unsigned long MoveObject(const std::wstring& from, const std::wstring& to);

/// One file, up to 5 attempts, each of which overwrites the target. 0, or the last error of the
/// last attempt; a folder always fails.
unsigned long CopyObject(const std::wstring& from, const std::wstring& to);

/// MoveObject or CopyObject (`operation` is FO_MOVE or FO_COPY); when that fails the target is
/// removed and the shell does it, in up to 6 attempts. A shell move that meets a sharing violation
/// goes on as a copy, and what stays of the source is then removed. A folder's move that stopped
/// half way goes on inside the target, also after Retry.
int SHMoveCopyObject(const std::wstring& from, const std::wstring& to, unsigned operation,
                     bool showErrorDialog);
int SHCopyObject(const std::wstring& from, const std::wstring& to, bool showErrorDialog);
int SHMoveObject(const std::wstring& from, const std::wstring& to, bool showErrorDialog);

/// Removes `to`, then moves `from` there: MoveObject, then one attempt of the shell. No dialog.
int SHRenameObject(const std::wstring& from, const std::wstring& to);

/// Starts a second instance of the program, with this one's arguments behind "--generate-report",
/// that reports which processes hold the files. Does not wait for it.
void RequestErrorReport();
