#include "kit/Png.h"

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::string_view signature("\x89PNG\r\n\x1a\n", 8);
// A chunk's length, kind and checksum.
constexpr std::size_t chunkFrame = 12, headerLength = 13;

const Bytef* Bytes(const char* data) {
    return reinterpret_cast<const Bytef*>(data);
}

std::uint32_t ReadBig32(const char* data) {
    const Bytef* bytes = Bytes(data);
    return static_cast<std::uint32_t>(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

/// Returns null, or what is wrong with the bytes of the header chunk.
const char* ReadHeader(const char* data, Png& png) {
    png.width = ReadBig32(data);
    png.height = ReadBig32(data + 4);
    png.depth = static_cast<unsigned char>(data[8]);
    png.colour = static_cast<unsigned char>(data[9]);
    png.isInterlaced = data[12] != 0;
    const bool isKnown = data[10] == 0 && data[11] == 0 && data[12] <= 1;
    return isKnown ? nullptr : "is packed in a way that no reader knows; expected a PNG picture";
}

unsigned char Predict(int left, int above, int corner) {
    const int towardsLeft = std::abs(above - corner), towardsAbove = std::abs(left - corner);
    const int towardsCorner = std::abs(left + above - 2 * corner);
    if (towardsLeft <= towardsAbove && towardsLeft <= towardsCorner) {
        return static_cast<unsigned char>(left);
    }
    return static_cast<unsigned char>(towardsAbove <= towardsCorner ? above : corner);
}

/// Undoes the filters (section 6) that lie over the rows, each of which begins with a byte that
/// names its filter.
bool Unfilter(const std::string& filtered, const Png& png, std::string& pixels) {
    const std::size_t channels = CountChannels(png), stride = png.width * channels;
    pixels.assign(stride * png.height, '\0');
    auto* out = reinterpret_cast<unsigned char*>(pixels.data());
    const Bytef* in = Bytes(filtered.data());
    for (unsigned row = 0; row < png.height; ++row, out += stride) {
        const unsigned filter = *in++;
        if (filter > 4) {
            return false;
        }
        for (std::size_t i = 0; i < stride; ++i) {
            const int left = i >= channels ? out[i - channels] : 0;
            const int above = row > 0 ? out[i - stride] : 0;
            const int corner = row > 0 && i >= channels ? out[i - stride - channels] : 0;
            const int predictions[] = {0, left, above, (left + above) / 2,
                                       Predict(left, above, corner)};
            out[i] = static_cast<unsigned char>(*in++ + predictions[filter]);
        }
    }
    return true;
}

}  // namespace

const char* ReadPng(const std::string& file, Png& png) {
    png = {};
    if (file.compare(0, signature.size(), signature) != 0 ||
        file.size() < signature.size() + chunkFrame + headerLength ||
        ReadBig32(&file[8]) != headerLength || file.compare(12, 4, "IHDR") != 0) {
        return "is no PNG; expected a PNG picture";
    }
    std::size_t place = signature.size();
    while (file.size() - place >= chunkFrame) {
        const std::size_t length = ReadBig32(&file[place]);
        if (length > file.size() - place - chunkFrame) {
            break;
        }
        const uLong sum = crc32(0, Bytes(&file[place + 4]), static_cast<uInt>(length + 4));
        if (sum != ReadBig32(&file[place + 8 + length])) {
            return "is damaged, a checksum in it is wrong; expected a whole PNG";
        }
        if (file.compare(place + 4, 4, "IDAT") == 0) {
            png.packed.append(file, place + 8, length);
        }
        if (file.compare(place + 4, 4, "IEND") == 0) {
            return ReadHeader(&file[16], png);
        }
        place += chunkFrame + length;
    }
    return "is cut off; expected a whole PNG";
}

bool IsPlain(const Png& png) {
    return png.depth == 8 && (png.colour == 2 || png.colour == 6) && !png.isInterlaced;
}

unsigned CountChannels(const Png& png) {
    return png.colour == 6 ? 4 : 3;
}

bool UnpackPng(const Png& png, std::string& pixels) {
    std::string filtered((png.width * CountChannels(png) + 1) * png.height, '\0');
    uLongf size = static_cast<uLongf>(filtered.size());
    return uncompress(reinterpret_cast<Bytef*>(filtered.data()), &size, Bytes(png.packed.data()),
                      static_cast<uLong>(png.packed.size())) == Z_OK &&
           size == filtered.size() && Unfilter(filtered, png, pixels);
}
