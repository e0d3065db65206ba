#include "kit/Picture.h"

#include <cstdlib>

#include "kit/Png.h"

namespace {

constexpr const char* fileName = "background.png";

// The window's controls lie on fixed places, whatever the size.
constexpr unsigned leastWidth = 500, leastHeight = 254;
// The window has to fit a screen of 1280 x 800 or 1366 x 768 with its task bar.
constexpr unsigned mostWidth = 1200, mostHeight = 760;
// The bar's track, all inclusive, and the line around it.
constexpr unsigned trackLeft = 90, trackTop = 176, trackRight = 410, trackBottom = 190;
constexpr unsigned char trackFill[] = {229, 231, 227};
constexpr unsigned char trackFrame[] = {186, 188, 185};
// Graphics programs shift colours a little when they convert between colour spaces.
constexpr int colourTolerance = 4;

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

void CheckTrack(const Png& png, const std::string& pixels, Findings& findings) {
    for (unsigned y = trackTop - 1; y <= trackBottom + 1; ++y) {
        for (unsigned x = trackLeft - 1; x <= trackRight + 1; ++x) {
            const bool inside =
                x >= trackLeft && x <= trackRight && y >= trackTop && y <= trackBottom;
            const auto* pixel = reinterpret_cast<const unsigned char*>(
                &pixels[(y * png.width + x) * CountChannels(png)]);
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

void CheckPicture(const std::string& file, Findings& findings) {
    Png png;
    std::string pixels;
    const char* wrong = ReadPng(file, png);
    if (wrong == nullptr && !IsPlain(png)) {
        wrong = png.isInterlaced ? "is interlaced; expected a plain PNG"
                                 : "expected 8 bits per channel, RGB or RGBA";
    }
    if (wrong != nullptr) {
        AddError(findings, fileName, "", wrong);
        return;
    }
    if (png.width < leastWidth || png.height < leastHeight || png.width > mostWidth ||
        png.height > mostHeight) {
        AddError(findings, fileName, "size",
                 "is " + Numbers(png.width, " x ", png.height) + "; expected from " +
                     Numbers(leastWidth, " x ", leastHeight) + " to " +
                     Numbers(mostWidth, " x ", mostHeight));
        return;
    }
    if (!UnpackPng(png, pixels)) {
        AddError(findings, fileName, "", "cannot be unpacked; expected a whole PNG");
        return;
    }
    CheckTrack(png, pixels, findings);
    for (std::size_t i = 3; CountChannels(png) == 4 && i < pixels.size(); i += 4) {
        if (pixels[i] != '\xff') {
            AddWarning(findings, fileName, "", "is transparent in places; expected it opaque");
            break;
        }
    }
}
