#include "ZipBuilder.h"

#include <random>
#include <stdexcept>

#include <zlib.h>

namespace {

// As in a zlib stream, whose head of two bytes and checksum of four go.
std::string Deflate(const std::string& content) {
    uLongf size = compressBound(static_cast<uLong>(content.size()));
    std::string packed(size, '\0');
    if (compress(reinterpret_cast<Bytef*>(packed.data()), &size,
                 reinterpret_cast<const Bytef*>(content.data()),
                 static_cast<uLong>(content.size())) != Z_OK)
        throw std::runtime_error("compress");
    return packed.substr(2, size - 6);
}

std::uint32_t Either(std::int64_t given, std::size_t actual) {
    return static_cast<std::uint32_t>(given < 0 ? static_cast<std::int64_t>(actual) : given);
}

// What both headers share, from the version needed to the length of the name.
std::string CommonFields(const ZipPart& part, const std::string& packed) {
    const auto content = reinterpret_cast<const Bytef*>(part.content.data());
    const uLong crc = crc32(0, content, static_cast<uInt>(part.content.size()));
    std::string fields(24, '\0');
    Put16(fields, 0, 20);
    Put16(fields, 2, part.flags);
    Put16(fields, 4, Either(part.method, part.deflate ? 8 : 0));
    Put32(fields, 6, 0x5C216000);  // 1 January 2026, 12:00:00
    Put32(fields, 10, Either(part.crc, crc));
    Put32(fields, 14, Either(part.packedSize, packed.size()));
    Put32(fields, 18, Either(part.size, part.content.size()));
    Put16(fields, 22, static_cast<std::uint32_t>(part.name.size()));
    return fields;
}

}  // namespace

void Put16(std::string& bytes, std::size_t at, std::uint32_t value) {
    bytes[at] = static_cast<char>(value);
    bytes[at + 1] = static_cast<char>(value >> 8);
}

void Put32(std::string& bytes, std::size_t at, std::uint32_t value) {
    Put16(bytes, at, value);
    Put16(bytes, at + 2, value >> 16);
}

std::string BuildZip(const std::vector<ZipPart>& parts,
                     const std::function<void(std::string&)>& tailEdit) {
    std::string files, directory;
    for (const ZipPart& part : parts) {
        const std::string packed = part.deflate ? Deflate(part.content) : part.content;
        std::string local = CommonFields(part, packed);
        // With this flag checksum and sizes stand behind the bytes only.
        if (part.flags & 8)
            local.replace(10, 12, 12, '\0');
        std::string places(16, '\0');
        Put32(places, 8, part.attributes);
        Put32(places, 12, Either(part.localOffset, files.size()));
        directory += "PK\1\2\x14\3" + CommonFields(part, packed) + places + part.name;
        files += "PK\3\4" + local + std::string(2, '\0') + part.name + packed;
    }
    std::string tail = "PK\5\6" + std::string(18, '\0');
    Put16(tail, 8, static_cast<std::uint32_t>(parts.size()));
    Put16(tail, 10, static_cast<std::uint32_t>(parts.size()));
    Put32(tail, 12, static_cast<std::uint32_t>(directory.size()));
    Put32(tail, 16, static_cast<std::uint32_t>(files.size()));
    if (tailEdit)
        tailEdit(tail);
    return files + directory + tail;
}

std::string MakeNoise(std::size_t count) {
    std::minstd_rand generator(1);
    std::string noise(count, '\0');
    for (char& c : noise)
        c = static_cast<char>(generator() >> 8);
    return noise;
}
