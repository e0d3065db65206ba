#include "kit/Icon.h"

#include <algorithm>
#include <cstring>

#include "kit/Png.h"

namespace {

constexpr const char* fileName = "icon.ico";
constexpr unsigned neededSizes[] = {256, 64, 32, 16};
constexpr unsigned largestSize = 256;  // stands as 0 in the list

// The head of an icon file and its entries, as the platform's documentation of icons has them.
#pragma pack(push, 1)
struct IconHead {
    std::uint16_t reserved, type, count;
};
struct IconEntry {
    std::uint8_t width, height, colours, reserved;
    std::uint16_t planes, bits;
    std::uint32_t length, offset;
};
struct GroupEntry {
    std::uint8_t width, height, colours, reserved;
    std::uint16_t planes, bits;
    std::uint32_t length;
    std::uint16_t id;
};
/// Of an image that is no PNG (BITMAPINFOHEADER).
struct BitmapHead {
    std::uint32_t headLength;
    std::int32_t width, height;  // the height of picture and mask together
    std::uint16_t planes, bits;
    std::uint32_t packing, length;
    std::int32_t xDensity, yDensity;
    std::uint32_t coloursUsed, coloursNeeded;
};
#pragma pack(pop)

/// What an image tells of itself. The entry in front of it need not tell the bits.
struct ImageFacts {
    unsigned width, height;
    std::uint16_t bits;
};

unsigned SizeOf(std::uint8_t listed) {
    return listed == 0 ? largestSize : listed;
}

std::string DescribeSize(unsigned width, unsigned height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

const char* ReadPngFacts(const std::string& image, ImageFacts& facts) {
    Png png;
    std::string pixels;
    if (const char* wrong = ReadPng(image, png)) {
        return wrong;
    }
    facts = {png.width, png.height,
             static_cast<std::uint16_t>(png.depth == 8 && png.colour == 6 ? 32 : 24)};
    const bool canBeUnpacked = png.width <= largestSize && png.height <= largestSize &&
                               (!IsPlain(png) || UnpackPng(png, pixels));
    return canBeUnpacked ? nullptr : "cannot be unpacked; expected a whole PNG";
}

/// How many bytes a row of pixels takes: rows end on 4 bytes.
std::size_t CountRowBytes(unsigned width, unsigned bits) {
    return (static_cast<std::size_t>(width) * bits + 31) / 32 * 4;
}

const char* ReadBitmapFacts(const std::string& image, ImageFacts& facts) {
    BitmapHead head = {};
    if (image.size() >= sizeof head) {
        std::memcpy(&head, image.data(), sizeof head);
    }
    if (head.headLength != sizeof head || head.packing != 0) {
        return "is neither PNG nor plain bitmap; expected one of them";
    }
    facts = {static_cast<unsigned>(head.width), static_cast<unsigned>(head.height) / 2, head.bits};
    if (facts.width > largestSize || facts.height > largestSize || head.bits > 32) {
        return "is no image of an icon; expected at most 256 x 256 pixels";
    }
    const std::size_t palette = head.bits <= 8 ? std::size_t{4} << head.bits : 0;
    const std::size_t picture = CountRowBytes(facts.width, head.bits) * facts.height;
    const std::size_t mask = CountRowBytes(facts.width, 1) * facts.height;
    if (image.size() < sizeof head + palette + picture + mask) {
        return "is cut off; expected a whole bitmap with its mask";
    }
    // Others may have their shape from the mask.
    const auto start = image.begin() + static_cast<std::ptrdiff_t>(sizeof head + palette);
    const bool isBare =
        head.bits == 32 && std::all_of(start, start + static_cast<std::ptrdiff_t>(picture),
                                       [](char byte) { return byte == 0; });
    return isBare ? "is of zeros alone; expected a picture" : nullptr;
}

/// Returns an empty text, or what is wrong with an image.
std::string ReadFacts(const std::string& image, const IconEntry& entry, ImageFacts& facts) {
    const bool isPng = image.compare(0, 4, "\x89PNG") == 0;
    const char* wrong = isPng ? ReadPngFacts(image, facts) : ReadBitmapFacts(image, facts);
    if (wrong != nullptr) {
        return wrong;
    }
    if (facts.width != SizeOf(entry.width) || facts.height != SizeOf(entry.height)) {
        return "is " + DescribeSize(facts.width, facts.height) +
               "; expected what the list of images says";
    }
    return {};
}

template <typename Record>
void Append(std::string& data, const Record& record) {
    data.append(reinterpret_cast<const char*>(&record), sizeof record);
}

/// Reads the image of an entry. Of one that does not fit only the size is kept that it should have.
IconImage ReadImage(const std::string& file, const IconEntry& entry, Findings& findings) {
    IconImage image = {entry.width, entry.height, 0, {}};
    std::string wrong = "lies outside the file; expected a whole icon file";
    ImageFacts facts = {};
    if (entry.offset <= file.size() && entry.length <= file.size() - entry.offset) {
        image.data = file.substr(entry.offset, entry.length);
        wrong = ReadFacts(image.data, entry, facts);
    }
    if (!wrong.empty()) {
        AddError(findings, fileName,
                 "image of " + DescribeSize(SizeOf(entry.width), SizeOf(entry.height)), wrong);
        image.data.clear();
    }
    image.bits = facts.bits;
    return image;
}

}  // namespace

std::vector<IconImage> ReadIcon(const std::string& file, Findings& findings) {
    std::vector<IconImage> images;
    IconHead head = {};
    if (file.size() >= sizeof head) {
        std::memcpy(&head, file.data(), sizeof head);
    }
    if (head.reserved != 0 || head.type != 1 ||
        file.size() < sizeof head + head.count * sizeof(IconEntry)) {
        AddError(findings, fileName, "", "is no icon; expected an icon file");
        return images;
    }
    for (unsigned i = 0; i < head.count; ++i) {
        IconEntry entry;
        std::memcpy(&entry, file.data() + sizeof head + i * sizeof entry, sizeof entry);
        images.push_back(ReadImage(file, entry, findings));
    }
    for (const unsigned size : neededSizes) {
        // One that does not fit has been told already.
        const auto fits = [size](const IconImage& image) {
            return SizeOf(image.width) == size && SizeOf(image.height) == size &&
                   (image.bits == 32 || image.data.empty());
        };
        if (std::none_of(images.begin(), images.end(), fits)) {
            AddError(findings, fileName, DescribeSize(size, size),
                     "is missing; expected an image of this size with 32 bits per pixel");
        }
    }
    return images;
}

std::string EncodeIconGroup(const std::vector<IconImage>& images) {
    std::string data;
    Append(data, IconHead{0, 1, static_cast<std::uint16_t>(images.size())});
    std::uint16_t id = 0;
    for (const IconImage& image : images) {
        Append(data, GroupEntry{image.width, image.height, 0, 0, 1, image.bits,
                                static_cast<std::uint32_t>(image.data.size()), ++id});
    }
    return data;
}
