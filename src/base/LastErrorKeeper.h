#pragma once

#include <windows.h>

/// Puts the thread's last error back at the end of its scope.
struct LastErrorKeeper {
    LastErrorKeeper() = default;
    ~LastErrorKeeper() {
        SetLastError(error);
    }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

    const DWORD error = GetLastError();
};
