#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "driver/Waiting.h"

/// A folder of one test's own below the current directory, with a short name and no blank; removed
/// with everything in it at the end.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Full path of an entry; of the folder itself without a name.
    std::wstring operator/(const std::wstring& name) const;

    std::wstring path;
};

/// Writes a file, with the folders above it.
void WriteFileText(const std::wstring& path, const std::string& text);

/// Content of a file; "<missing>" when it cannot be read.
std::string ReadFileText(const std::wstring& path);

bool Exists(const std::wstring& path);

/// Removes a folder with everything in it, read-only files too; what is held stays. A link goes,
/// its target is not entered.
void RemoveTree(const std::wstring& path);

/// Holds a file open, with no sharing unless told.
class HeldOpen {
  public:
    explicit HeldOpen(const std::wstring& path, DWORD sharing = 0);

  private:
    std::shared_ptr<void> handle;
};

/// Moves the folder for temporary files for one scope. The path need not exist.
class TempVariable {
  public:
    explicit TempVariable(const std::wstring& folder);

  private:
    std::shared_ptr<void> restore;
};

/// What was logged since this object was made.
class LogCapture {
  public:
    LogCapture();

    /// Lines "LEVEL source message", without the time stamps, each ended by a line feed.
    std::wstring Lines() const;
    int Count(const std::wstring& part) const;
    bool Has(const std::wstring& part) const {
        return Count(part) != 0;
    }

  private:
    std::size_t start;
};

/// Fills one of the product's path buffers.
template <std::size_t length>
void SetPath(wchar_t (&buffer)[length], const std::wstring& path) {
    buffer[path.copy(buffer, length - 1)] = L'\0';
}
