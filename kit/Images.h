#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Pixels, top row first: blue, green, red and alpha, a byte each.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> rows;
};

/// What the header of a PNG (RFC 2083) tells, be the rest whole or not.
struct PngHead {
    unsigned width, height;
    unsigned depth, colour;  // bits per channel; 2 = RGB, 6 = RGBA
    bool isInterlaced;
};

/// Returns false when the bytes do not begin like a PNG.
bool ReadPngHead(const std::string& file, PngHead& head);

/// The pictures in the bytes of a picture file, as the decoder of the system sees them with which
/// the program shows its own: one of a PNG, all of an icon, in their order. One that is damaged has
/// no pixels. Nothing at all when it is no such file, or a PNG that is not whole.
std::vector<Pixels> DecodeImages(const std::string& file);

/// The bytes of a PNG, RGBA or RGB; nothing when the system cannot make one.
std::string EncodePng(const Pixels& pixels, bool hasAlpha);
