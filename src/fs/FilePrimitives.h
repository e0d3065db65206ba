#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// The small file operations that do not retry (RetryingOperations.h does). Results: 0 is success,
/// -1 failure.

/// True when an entry of an enumeration is a link to a folder, of whatever kind.
bool IsFolderLink(const WIN32_FIND_DATAW& entry);

/// True for the two entries of an enumeration that name the folder itself and its parent.
bool IsDotEntry(const wchar_t* name);

/// Creates a folder with all its parents; both kinds of slash separate. It fails when the path is
/// missing in the end, whatever parts of it could not be made: that is logged, the parents made so
/// far stay, and the thread's last error is that of the first part missing. A file at the end of
/// the path counts as success.
int CreateDir(const std::wstring& path);

/// Deletes a folder tree as far as it goes: what cannot be deleted is logged and passed over. A
/// link to a folder in the tree is deleted, its target never entered. Null does nothing.
void RemoveDir(const wchar_t* path);

/// Reads a file into `content`, without a UTF-8 byte order mark at its start; of each 1024-byte
/// block what stands behind a NUL byte is dropped. A missing file gives 0 and an empty content, one
/// that cannot be opened -1 with the thread's last error in place. Logs nothing.
int ReadTextFile(const std::wstring& path, std::string& content);

/// Replaces the file's content. Logs nothing; the thread's last error stays in place.
int WriteBufferToFile(const void* data, std::uint32_t length, const std::wstring& path);
