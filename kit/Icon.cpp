#include "kit/Icon.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "kit/Failure.h"
#include "kit/Images.h"

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
#pragma pack(pop)

unsigned SizeOf(std::uint8_t listed) {
    return listed == 0 ? largestSize : listed;
}

std::string DescribeSize(unsigned width, unsigned height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

/// Of an image or its entry in the list.
template <typename Listed>
std::string NameOf(const Listed& listed) {
    return "image of " + DescribeSize(SizeOf(listed.width), SizeOf(listed.height));
}

/// The bits of a pixel as an image itself tells them, since the list in front need not; 0 when it
/// is of no kind that icons are made of.
std::uint16_t ReadBits(const std::string& image) {
    PngHead png = {};
    if (ReadPngHead(image, png)) {
        return png.depth == 8 && png.colour == 6 ? 32 : 24;
    }
    BITMAPINFOHEADER bitmap = {};
    if (image.size() >= sizeof bitmap) {
        std::memcpy(&bitmap, image.data(), sizeof bitmap);
    }
    return bitmap.biSize == sizeof bitmap && bitmap.biCompression == BI_RGB ? bitmap.biBitCount : 0;
}

/// Whether a bitmap of 32 bits has nothing but zeros; others may have their shape from the mask.
bool IsBare(const IconImage& image, const Pixels& pixels) {
    const std::size_t start = sizeof(BITMAPINFOHEADER), length = 4 * pixels.rows.size();
    return image.bits == 32 && image.data.compare(0, 4, "\x89PNG") != 0 &&
           image.data.find_first_not_of('\0', start) >= start + length;
}

/// Judges an image that the system has decoded to these pixels.
Failure JudgeImage(const IconImage& image, const Pixels& pixels) {
    const auto width = static_cast<unsigned>(pixels.width);
    const auto height = static_cast<unsigned>(pixels.height);
    if (image.bits == 0) {
        return "is neither PNG nor plain bitmap; expected one of them";
    }
    if (pixels.rows.empty()) {
        return "is damaged or cut off; expected a whole PNG, or a bitmap with its mask";
    }
    if (width != SizeOf(image.width) || height != SizeOf(image.height)) {
        return "is " + DescribeSize(width, height) + "; expected what the list of images says";
    }
    return IsBare(image, pixels) ? Failure("is of zeros alone; expected a picture") : Failure();
}

template <typename Record>
void Append(std::string& data, const Record& record) {
    data.append(reinterpret_cast<const char*>(&record), sizeof record);
}

/// Reads the list and the data behind it. Returns whether all of it lies in the file.
bool ReadList(const std::string& file, std::vector<IconImage>& images, Findings& findings) {
    IconHead head = {};
    if (file.size() >= sizeof head) {
        std::memcpy(&head, file.data(), sizeof head);
    }
    if (head.reserved != 0 || head.type != 1 ||
        file.size() < sizeof head + head.count * sizeof(IconEntry)) {
        AddError(findings, fileName, "", "is no icon; expected an icon file");
        return false;
    }
    for (unsigned i = 0; i < head.count; ++i) {
        IconEntry entry;
        std::memcpy(&entry, file.data() + sizeof head + i * sizeof entry, sizeof entry);
        if (entry.offset > file.size() || entry.length > file.size() - entry.offset) {
            AddError(findings, fileName, NameOf(entry),
                     "lies outside the file; expected a whole icon file");
            return false;
        }
        const std::string data = file.substr(entry.offset, entry.length);
        images.push_back({entry.width, entry.height, ReadBits(data), data});
    }
    return true;
}

}  // namespace

std::vector<IconImage> ReadIcon(const std::string& file, Findings& findings) {
    std::vector<IconImage> images;
    if (!ReadList(file, images, findings)) {
        return {};
    }
    std::vector<Pixels> decoded = DecodeImages(file);
    decoded.resize(images.size());
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (const Failure failure = JudgeImage(images[i], decoded[i])) {
            AddError(findings, fileName, NameOf(images[i]), *failure);
            images[i].data.clear();
        }
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
