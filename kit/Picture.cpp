#include "kit/Picture.h"

#include <algorithm>
#include <cstdlib>

#include "kit/Failure.h"
#include "kit/Images.h"
#include "resources/WindowLayout.h"

namespace {

constexpr const char* fileName = "background.png";

// The window has to fit a screen of 1280 x 800 or 1366 x 768 with its task bar.
constexpr int mostWidth = 1200, mostHeight = 760;
// The bar's track and the line of one pixel around it.
constexpr int trackRight = barLeft + barTrackWidth, trackBottom = barTop + barHeight;
constexpr unsigned char trackFill[] = {229, 231, 227};
constexpr unsigned char trackFrame[] = {186, 188, 185};
// Graphics programs shift colours a little when they convert between colour spaces.
constexpr int colourTolerance = 4;

int Channel(std::uint32_t pixel, int index) {
    return static_cast<int>(pixel >> (16 - 8 * index) & 0xFF);
}

bool IsNear(std::uint32_t pixel, const unsigned char* colour) {
    for (int i = 0; i < 3; ++i) {
        if (std::abs(Channel(pixel, i) - colour[i]) > colourTolerance) {
            return false;
        }
    }
    return true;
}

std::string Numbers(int a, const char* between, int b) {
    return std::to_string(a) + between + std::to_string(b);
}

void CheckTrack(const Pixels& pixels, Findings& findings) {
    for (int y = barTop - 1; y <= trackBottom; ++y) {
        for (int x = barLeft - 1; x <= trackRight; ++x) {
            const bool inside = x >= barLeft && x < trackRight && y >= barTop && y < trackBottom;
            const std::uint32_t pixel = pixels.rows[static_cast<std::size_t>(y * pixels.width + x)];
            if (IsNear(pixel, inside ? trackFill : trackFrame)) {
                continue;
            }
            AddError(findings, fileName, "the bar's track",
                     "at " + Numbers(x, ",", y) + " the colour is " +
                         std::to_string(Channel(pixel, 0)) + "," +
                         std::to_string(Channel(pixel, 1)) + "," +
                         std::to_string(Channel(pixel, 2)) + "; expected 229,231,227 from " +
                         Numbers(barLeft, ",", barTop) + " to " +
                         Numbers(trackRight - 1, ",", trackBottom - 1) +
                         " and one pixel of 186,188,185 around it");
            return;
        }
    }
}

Failure JudgeKind(const std::string& file, PngHead& head) {
    if (!ReadPngHead(file, head)) {
        return "is no PNG; expected a PNG picture";
    }
    if (head.depth != 8 || (head.colour != 2 && head.colour != 6)) {
        return "expected 8 bits per channel, RGB or RGBA";
    }
    return head.isInterlaced ? Failure("is interlaced; expected a plain PNG") : Failure();
}

}  // namespace

void CheckPicture(const std::string& file, Findings& findings) {
    PngHead head = {};
    if (const Failure expected = JudgeKind(file, head)) {
        AddError(findings, fileName, "", *expected);
        return;
    }
    // A number beyond an int's is negative, so too small.
    const int width = static_cast<int>(head.width), height = static_cast<int>(head.height);
    if (width < leastPictureWidth || height < leastPictureHeight || width > mostWidth ||
        height > mostHeight) {
        AddError(findings, fileName, "size",
                 "is " + std::to_string(head.width) + " x " + std::to_string(head.height) +
                     "; expected from " + Numbers(leastPictureWidth, " x ", leastPictureHeight) +
                     " to " + Numbers(mostWidth, " x ", mostHeight));
        return;
    }
    const std::vector<Pixels> images = DecodeImages(file);
    if (images.empty() || images[0].rows.empty()) {
        AddError(findings, fileName, "", "is damaged or cut off; expected a whole PNG");
        return;
    }
    CheckTrack(images[0], findings);
    const auto isOpaque = [](std::uint32_t pixel) { return pixel >> 24 == 0xFF; };
    if (!std::all_of(images[0].rows.begin(), images[0].rows.end(), isOpaque)) {
        AddWarning(findings, fileName, "", "is transparent in places; expected it opaque");
    }
}
