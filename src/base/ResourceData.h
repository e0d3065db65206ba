#pragma once

#include <windows.h>

/// A resource of the executable, read in place; it lives as long as the program.
struct ResourceData {
    /// Null when there is none.
    const void* data = nullptr;
    DWORD size = 0;
    /// Without data the name of the call that failed, with its last error in place.
    const wchar_t* failedCall = nullptr;
};

ResourceData FindResourceData(const wchar_t* type, int id);
