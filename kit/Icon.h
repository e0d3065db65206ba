#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Findings.h"

/// One image of an icon file: a PNG or a bitmap without its file header.
struct IconImage {
    std::uint8_t width, height;  // 0 stands for 256
    std::uint16_t bits;
    std::string data;
};

/// Reads the bytes of icon.ico. The sizes 256, 64, 32 and 16 must be there at 32 bits, others may.
/// Every image has to be whole and of the size that the file's list says. An image that is not is
/// an error and has no data.
std::vector<IconImage> ReadIcon(const std::string& file, Findings& findings);

/// The resource that lists an icon's images; image i is the icon resource with the id i + 1.
std::string EncodeIconGroup(const std::vector<IconImage>& images);
