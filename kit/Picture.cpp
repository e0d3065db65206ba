#include "kit/Picture.h"

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr const char* fileName = "background.png";

// The window's controls lie on fixed places, whatever the size.
constexpr unsigned leastWidth = 500, leastHeight = 254, mostWidth = 1920, mostHeight = 1080;
// The bar's track, all inclusive, and the line around it.
constexpr unsigned trackLeft = 90, trackTop = 176, trackRight = 410, trackBottom = 190;
constexpr unsigned char trackFill[] = {229, 231, 227};
constexpr unsigned char trackFrame[] = {186, 188, 185};
// Graphics programs shift colours a little when they convert between colour spaces.
constexpr int colourTolerance = 4;

struct Image {
    unsigned width, height, channels;
    std::string pixels;  // rows from the top, each pixel `channels` bytes, red first
};

std::uint32_t ReadBig32(const char* data) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    return static_cast<std::uint32_t>(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

/// Returns null, or what is wrong. On success `packed` has the compressed rows, one stream.
const char* ReadChunks(const std::string& png, Image& image, std::string& packed) {
    if (png.compare(0, 8, std::string_view("\x89PNG\r\n\x1a\n", 8)) != 0 || png.size() < 33 ||
        png.compare(12, 4, "IHDR") != 0) {
        return "is no PNG; expected a PNG picture";
    }
    image.width = ReadBig32(&png[16]);
    image.height = ReadBig32(&png[20]);
    const char depth = png[24], colour = png[25], interlace = png[28];
    if (depth != 8 || (colour != 2 && colour != 6)) {
        return "expected 8 bits per channel, RGB or RGBA";
    }
    if (interlace != 0) {
        return "is interlaced; expected a plain PNG";
    }
    image.channels = colour == 6 ? 4 : 3;
    std::size_t place = 8;
    while (png.size() - place >= 12) {
        const std::size_t length = ReadBig32(&png[place]);
        if (length > png.size() - place - 12) {
            break;
        }
        if (png.compare(place + 4, 4, "IDAT") == 0) {
            packed.append(png, place + 8, length);
        }
        if (png.compare(place + 4, 4, "IEND") == 0) {
            return nullptr;
        }
        place += 12 + length;
    }
    return "is cut off; expected a whole PNG";
}

unsigned char Predict(int left, int above, int corner) {
    const int towardsLeft = std::abs(above - corner), towardsAbove = std::abs(left - corner);
    const int towardsCorner = std::abs(left + above - 2 * corner);
    if (towardsLeft <= towardsAbove && towardsLeft <= towardsCorner) {
        return static_cast<unsigned char>(left);
    }
    return static_cast<unsigned char>(towardsAbove <= towardsCorner ? above : corner);
}

/// Undoes the filters that PNG (RFC 2083, section 6) lays over the rows, each of which begins with
/// a byte that names its filter.
bool Unfilter(const std::string& filtered, Image& image) {
    const std::size_t stride = image.width * image.channels;
    image.pixels.assign(stride * image.height, '\0');
    auto* out = reinterpret_cast<unsigned char*>(image.pixels.data());
    const auto* in = reinterpret_cast<const unsigned char*>(filtered.data());
    for (unsigned row = 0; row < image.height; ++row, out += stride) {
        const unsigned filter = *in++;
        if (filter > 4) {
            return false;
        }
        for (std::size_t i = 0; i < stride; ++i) {
            const int left = i >= image.channels ? out[i - image.channels] : 0;
            const int above = row > 0 ? out[i - stride] : 0;
            const int corner =
                row > 0 && i >= image.channels ? out[i - stride - image.channels] : 0;
            const int predictions[] = {0, left, above, (left + above) / 2,
                                       Predict(left, above, corner)};
            out[i] = static_cast<unsigned char>(*in++ + predictions[filter]);
        }
    }
    return true;
}

bool Unpack(const std::string& packed, Image& image) {
    std::string filtered((image.width * image.channels + 1) * image.height, '\0');
    uLongf size = static_cast<uLongf>(filtered.size());
    return uncompress(reinterpret_cast<Bytef*>(filtered.data()), &size,
                      reinterpret_cast<const Bytef*>(packed.data()),
                      static_cast<uLong>(packed.size())) == Z_OK &&
           size == filtered.size() && Unfilter(filtered, image);
}

bool IsNear(const unsigned char* pixel, const unsigned char* colour) {
    for (int i = 0; i < 3; ++i) {
        if (std::abs(pixel[i] - colour[i]) > colourTolerance) {
            return false;
        }
    }
    return true;
}

std::string Numbers(unsigned a, const char* between, unsigned b) {
    return std::to_string(a) + between + std::to_string(b);
}

void CheckTrack(const Image& image, Findings& findings) {
    for (unsigned y = trackTop - 1; y <= trackBottom + 1; ++y) {
        for (unsigned x = trackLeft - 1; x <= trackRight + 1; ++x) {
            const bool inside =
                x >= trackLeft && x <= trackRight && y >= trackTop && y <= trackBottom;
            const auto* pixel = reinterpret_cast<const unsigned char*>(
                &image.pixels[(y * image.width + x) * image.channels]);
            if (IsNear(pixel, inside ? trackFill : trackFrame)) {
                continue;
            }
            AddError(findings, fileName, "the bar's track",
                     "at " + Numbers(x, ",", y) + " the colour is " +
                         Numbers(pixel[0], ",", pixel[1]) + "," + std::to_string(pixel[2]) +
                         "; expected 229,231,227 from 90,176 to 410,190 and one pixel of "
                         "186,188,185 around it");
            return;
        }
    }
}

}  // namespace

void CheckPicture(const std::string& png, Findings& findings) {
    Image image = {};
    std::string packed;
    if (const char* wrong = ReadChunks(png, image, packed)) {
        AddError(findings, fileName, "", wrong);
        return;
    }
    if (image.width < leastWidth || image.height < leastHeight || image.width > mostWidth ||
        image.height > mostHeight) {
        AddError(findings, fileName, "size",
                 "is " + Numbers(image.width, " x ", image.height) + "; expected from " +
                     Numbers(leastWidth, " x ", leastHeight) + " to " +
                     Numbers(mostWidth, " x ", mostHeight));
        return;
    }
    if (!Unpack(packed, image)) {
        AddError(findings, fileName, "", "cannot be unpacked; expected a whole PNG");
        return;
    }
    CheckTrack(image, findings);
    for (std::size_t i = 3; image.channels == 4 && i < image.pixels.size(); i += 4) {
        if (image.pixels[i] != '\xff') {
            AddWarning(findings, fileName, "", "is transparent in places; expected it opaque");
            break;
        }
    }
}
