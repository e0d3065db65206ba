#include "StaticFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

bool LeavesRoot(const std::string& urlPath) {
    if (urlPath.empty() || urlPath[0] != '/') {
        return true;
    }
    if (urlPath.find('\\') != std::string::npos || urlPath.find('\0') != std::string::npos) {
        return true;
    }
    const fs::path path(urlPath);
    return std::find(path.begin(), path.end(), fs::path("..")) != path.end();
}

bool IsBelow(const fs::path& root, const fs::path& path) {
    const auto [rootEnd, unused] =
        std::mismatch(root.begin(), root.end(), path.begin(), path.end());
    return rootEnd == root.end();
}

std::string ContentTypeOf(const fs::path& path) {
    static constexpr std::pair<const char*, const char*> kTypes[] = {
        {".json", "application/json"},
        {".zip", "application/zip"},
        {".html", "text/html"},
        {".txt", "text/plain; charset=utf-8"},
        {".png", "image/png"}};
    for (const auto& [extension, type] : kTypes) {
        if (path.extension() == extension) {
            return type;
        }
    }
    return "application/octet-stream";
}

}  // namespace

int OpenStaticFile(const fs::path& root, const std::string& urlPath, OpenedFile& file) {
    if (LeavesRoot(urlPath)) {
        return 403;
    }
    std::error_code failed;
    const fs::path realRoot = fs::canonical(root, failed);
    if (failed) {
        return 404;
    }
    const fs::path path = fs::canonical(realRoot / urlPath.substr(1), failed);
    if (failed) {
        return 404;
    }
    if (!IsBelow(realRoot, path)) {
        return 403;
    }
    // Opening a pipe would otherwise wait for its writer.
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return 404;
    }
    file.descriptor = std::shared_ptr<const int>(new int(descriptor), [](const int* owned) {
        close(*owned);
        delete owned;
    });
    struct stat facts {};
    if (fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        return 404;
    }
    file.size = static_cast<uint64_t>(facts.st_size);
    file.contentType = ContentTypeOf(path);
    return 200;
}

size_t ReadStaticFile(const OpenedFile& file, uint64_t offset, char* data, size_t size) {
    const ssize_t got = pread(*file.descriptor, data, size, static_cast<off_t>(offset));
    return got > 0 ? static_cast<size_t>(got) : 0;
}
