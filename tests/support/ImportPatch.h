#pragma once

#include <windows.h>

#include <string>

/// Replaces an import of this executable for one scope, so that a call which cannot be made to fail
/// for real fails, or is counted. Works for what the program's code calls by name ("kernel32.dll",
/// "Sleep"); functions that it looks up at run time go through a patched GetProcAddress.
class ImportPatch {
  public:
    /// Fails the test when the executable has no such import.
    ImportPatch(const char* library, const char* function, FARPROC replacement);
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    /// The call that stood there.
    FARPROC original = nullptr;

  private:
    FARPROC* slot = nullptr;
};

/// For `patch(..., AsProc(&Fake))`.
template <typename Function>
FARPROC AsProc(Function* function) {
    return reinterpret_cast<FARPROC>(function);
}
