#pragma once

#include <windows.h>

#include <string>

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

/// Holds a file open with no sharing, or a folder so that it can be neither renamed nor deleted.
class HeldOpen {
  public:
    explicit HeldOpen(const std::wstring& path);
    ~HeldOpen();
    HeldOpen(const HeldOpen&) = delete;
    HeldOpen& operator=(const HeldOpen&) = delete;

  private:
    HANDLE handle;
};

/// What was logged since this object was made.
class LogCapture {
  public:
    LogCapture();

    /// Lines "LEVEL source message", without the time stamps, each ended by a line feed.
    std::wstring Lines() const;
    bool Has(const std::wstring& part) const {
        return Count(part) != 0;
    }
    int Count(const std::wstring& part) const;

  private:
    std::size_t start;
};

/// A key of the test's own stands for HKEY_CURRENT_USER until the end of the scope.
class RedirectedRegistry {
  public:
    RedirectedRegistry();
    ~RedirectedRegistry();
    RedirectedRegistry(const RedirectedRegistry&) = delete;
    RedirectedRegistry& operator=(const RedirectedRegistry&) = delete;

  private:
    HKEY key = nullptr;
};
