#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// UTF-8 to UTF-16 and back. What is ill-formed becomes replacement characters.
std::wstring Widen(std::string_view text);
std::string Narrow(std::wstring_view text);

/// The system's words for an error code with the code itself, one line of UTF-8.
std::string DescribeError(std::uint32_t code);

/// The path as Windows knows it: under Wine a path that begins with "/" is one of the Unix world,
/// whatever drive the current directory is on. Other paths come back as they are.
std::wstring FromHostPath(const std::wstring& path);

struct FileCloser {
    void operator()(void* handle) const;
};

/// An open file, which is closed with it, or null.
using File = std::unique_ptr<void, FileCloser>;

/// Opens a file as CreateFileW does; the system's last error tells why it is null. For reading,
/// others may read it too.
File OpenPath(const std::wstring& path, std::uint32_t access, std::uint32_t share,
              std::uint32_t disposition);
File OpenToRead(const std::wstring& path);

/// Reads a whole file of at most `limit` bytes. Returns 0, or the system's error code
/// (ERROR_FILE_TOO_LARGE above the limit) with `content` empty.
std::uint32_t ReadWholeFile(const std::wstring& path, std::uint32_t limit, std::string& content);

/// Writes a whole file, in the place of one that is there. Returns 0 or the system's error code.
std::uint32_t WriteWholeFile(const std::wstring& path, std::string_view content);

/// The file's length in bytes, 0 when it cannot be had.
std::uint64_t ReadFileSize(const std::wstring& path);
