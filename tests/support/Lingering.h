#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// Running copies of the helper `linger`, which is built beside the test's executable; ended with
/// code 7 at the end of the scope. Paths hold no blanks.
class Lingering {
  public:
    /// Copies the helper to the given paths and starts the first, which starts the second, and so
    /// on; the last one holds `heldFile` open. Returns when all of that runs.
    explicit Lingering(const std::vector<std::wstring>& programs,
                       const std::wstring& heldFile = {});
    ~Lingering();
    Lingering(const Lingering&) = delete;
    Lingering& operator=(const Lingering&) = delete;

    void End();
    /// STILL_ACTIVE while it runs.
    DWORD ExitCode(std::size_t program) const;
    DWORD Pid(std::size_t program) const;

  private:
    HANDLE end;
    std::vector<HANDLE> processes;
};
