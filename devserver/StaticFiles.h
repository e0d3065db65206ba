#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

/// An open regular file; the descriptor closes with the last copy.
struct OpenedFile {
    std::shared_ptr<const int> descriptor;
    uint64_t size = 0;  ///< when it was opened
    std::string contentType;
};

/// Opens what the decoded path of an address names below `root`. Returns 200; 403 for a path that
/// leaves `root`, be it by ".." or by a link, or that holds a backslash or NUL; 404 for what is
/// missing or no regular file.
int OpenStaticFile(const std::filesystem::path& root, const std::string& urlPath, OpenedFile& file);

/// Reads up to `size` bytes at `offset`. Returns their number, 0 when the file has become shorter.
size_t ReadStaticFile(const OpenedFile& file, uint64_t offset, char* data, size_t size);
