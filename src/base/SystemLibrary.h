#pragma once

#include <windows.h>

/// Address of a function of a system library that is not bound at load time: what the loader would
/// bind itself, it may take from the program's own folder, where a download lies beside anything.
/// The library is taken from the system's folder only and stays loaded. Null when the library or
/// the function is missing.
FARPROC SystemFunction(const wchar_t* library, const char* name);

/// The same with the type of `declaration`, a function of the platform's headers.
template <typename Function>
Function* SystemFunction(const wchar_t* library, const char* name, Function*) {
    return reinterpret_cast<Function*>(SystemFunction(library, name));
}
