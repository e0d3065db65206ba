#include "kit/Icon.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr const char* fileName = "icon.ico";
constexpr unsigned neededSizes[] = {256, 64, 32, 16};

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

/// The bits per pixel that the image itself tells, 0 when it is neither PNG nor bitmap. The entry
/// in front of it need not tell them.
std::uint16_t ReadBits(const std::string& image) {
    if (image.size() > 26 && image.compare(0, 4, "\x89PNG") == 0) {
        return image[24] == 8 && image[25] == 6 ? 32 : 24;
    }
    std::uint32_t headSize = 0;
    std::uint16_t bits = 0;
    if (image.size() >= 40) {
        std::memcpy(&headSize, image.data(), sizeof headSize);
        std::memcpy(&bits, image.data() + 14, sizeof bits);
    }
    return headSize == 40 ? bits : 0;
}

template <typename Record>
void Append(std::string& data, const Record& record) {
    data.append(reinterpret_cast<const char*>(&record), sizeof record);
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
        if (entry.offset > file.size() || entry.length > file.size() - entry.offset) {
            AddError(findings, fileName, "image " + std::to_string(i + 1),
                     "lies outside the file; expected a whole icon file");
            continue;
        }
        std::string data = file.substr(entry.offset, entry.length);
        const std::uint16_t bits = ReadBits(data);
        images.push_back({entry.width, entry.height, bits, std::move(data)});
    }
    for (const unsigned size : neededSizes) {
        const auto fits = [size](const IconImage& image) {
            return image.width == size % 256 && image.height == size % 256 && image.bits == 32;
        };
        if (std::none_of(images.begin(), images.end(), fits)) {
            AddError(findings, fileName, std::to_string(size) + " x " + std::to_string(size),
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
