#include "kit/PackedSize.h"

#include <zlib.h>

#include <algorithm>
#include <string>

namespace {

constexpr DWORD sampleSize = 32 << 10;
constexpr unsigned samples = 3;

}  // namespace

std::uint64_t EstimatePacked(HANDLE file, std::uint64_t bytes) {
    std::string sample(sampleSize, '\0'), packed(compressBound(sampleSize), '\0');
    std::uint64_t seen = 0, left = 0;
    const std::uint64_t rest = bytes - std::min<std::uint64_t>(bytes, sampleSize);
    for (unsigned i = 0; i < samples; ++i) {
        LARGE_INTEGER place;
        place.QuadPart = static_cast<LONGLONG>(rest / (samples - 1) * i);
        DWORD read = 0;
        if (!SetFilePointerEx(file, place, nullptr, FILE_BEGIN) ||
            !ReadFile(file, sample.data(), sampleSize, &read, nullptr)) {
            break;
        }
        uLongf length = static_cast<uLongf>(packed.size());
        compress2(reinterpret_cast<Bytef*>(packed.data()), &length,
                  reinterpret_cast<const Bytef*>(sample.data()), read, Z_BEST_SPEED);
        seen += read;
        left += std::min<std::uint64_t>(length, read);
    }
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    // 64 bits hold the product: a file on disk has less than 2^47 bytes, a sample 2^17 at most.
    return seen == 0 ? bytes : bytes * left / seen;
}
