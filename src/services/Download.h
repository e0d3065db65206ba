#pragma once

#include <windows.h>

struct IBindStatusCallback;

/// Fetches `url` into the file `destPath`, which is removed first and whose folder is made. The
/// scheme that the address brings is dropped: https and http are tried in turn, five times each,
/// with a pause of one second before each https attempt but the first. Blocks for the whole
/// transfer. `callback` may be null. False when every attempt failed, which is logged.
bool downloadFile(const wchar_t* url, const wchar_t* destPath, IBindStatusCallback* callback);

/// One attempt, past the system's cache.
HRESULT urlDownloadToFile(const wchar_t* url, const wchar_t* destPath,
                          IBindStatusCallback* callback);

/// Length of the address buffers, terminator included. A longer address is cut; whoever must not
/// fetch another one than was meant refuses it before.
constexpr int urlBufferLength = 1024;
