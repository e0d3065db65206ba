// Stands in for: the Shell's reading of the zip format.
#include "ZipReader.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>
#include <unordered_map>

#include <zlib.h>

#include "EntryNames.h"

namespace {

// Sizes, offsets and values of APPNOTE.TXT, chapters 4.3.7 (local header), 4.3.12 (central header),
// 4.3.16 (end record), 4.4.4 (flags), 4.4.5 (methods).
constexpr std::uint32_t localSignature = 0x04034b50, centralSignature = 0x02014b50;
constexpr std::uint32_t endSignature = 0x06054b50;
constexpr std::size_t localSize = 30, centralSize = 46, endSize = 22, longestComment = 0xFFFF;
constexpr std::uint16_t flagEncrypted = 0x0001, flagSizesBehind = 0x0008, flagStrong = 0x0040,
                        flagUtf8 = 0x0800, flagMasked = 0x2000;
constexpr std::uint16_t flagsThatMatter = flagEncrypted | flagStrong | flagUtf8 | flagMasked;
constexpr std::uint16_t methodStored = 0, methodDeflated = 8;
constexpr std::uint32_t dosFolder = 0x10, windowsLink = 0x400;
constexpr std::uint32_t unixFolder = 4, unixFile = 8;  // the file type, mode >> 12

constexpr std::size_t pieceSize = 1 << 20;

std::uint16_t Get16(Bytes bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

std::uint32_t Get32(Bytes bytes, std::size_t at) {
    return Get16(bytes, at) | static_cast<std::uint32_t>(Get16(bytes, at + 2)) << 16;
}

struct Directory {
    std::size_t count = 0;
    Bytes headers;  // all central headers
    Bytes files;    // everything in front of them
};

ZipResult FindDirectory(Bytes archive, Directory& directory) {
    if (archive.size() < endSize) {
        return ZipResult::Damaged;
    }
    const std::size_t last = archive.size() - endSize;
    const std::size_t first = last - std::min(last, longestComment);
    std::size_t end = last;
    // The record's comment reaches exactly to the end of the file, else it is no end record.
    while (Get32(archive, end) != endSignature || Get16(archive, end + 20) != last - end) {
        if (end == first) {
            return ZipResult::Damaged;
        }
        --end;
    }
    const std::uint32_t size = Get32(archive, end + 12), offset = Get32(archive, end + 16);
    directory.count = Get16(archive, end + 10);
    if (directory.count == 0xFFFF || size == 0xFFFFFFFF || offset == 0xFFFFFFFF) {
        return ZipResult::Unsupported;
    }
    if (Get16(archive, end + 4) != 0 || Get16(archive, end + 6) != 0 ||
        Get16(archive, end + 8) != directory.count) {
        return ZipResult::Unsupported;
    }
    if (offset > end || size != end - offset) {
        return ZipResult::Damaged;
    }
    directory.files = archive.first(offset);
    directory.headers = archive.subspan(offset, size);
    return ZipResult::Ok;
}

// Links, devices and pipes have no business in an archive of files and folders.
bool IsPlainKind(std::uint32_t attributes, bool isFolder) {
    const std::uint32_t type = attributes >> 28;
    if (attributes & windowsLink) {
        return false;
    }
    if ((attributes & dosFolder) && !isFolder) {
        return false;
    }
    return type == 0 || type == (isFolder ? unixFolder : unixFile);
}

// Compares the local header with the central one and finds the packed bytes behind it.
ZipResult LocateBytes(Bytes files, Bytes central, std::string_view name, ZipEntry& entry) {
    const std::size_t at = Get32(central, 42), packed = Get32(central, 20);
    if (at > files.size() || files.size() - at < localSize) {
        return ZipResult::Damaged;
    }
    const Bytes local = files.subspan(at);
    const std::size_t nameSize = Get16(local, 26), skip = localSize + nameSize + Get16(local, 28);
    if (Get32(local, 0) != localSignature || skip > local.size() || packed > local.size() - skip) {
        return ZipResult::Damaged;
    }
    const std::uint16_t flags = Get16(local, 6);
    if (((flags ^ Get16(central, 8)) & flagsThatMatter) || Get16(local, 8) != Get16(central, 10) ||
        nameSize != name.size() ||
        !std::equal(name.begin(), name.end(), local.data() + localSize,
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; })) {
        return ZipResult::Damaged;
    }
    // Checksum and sizes may stand behind the bytes instead; the central header has them always.
    if (!(flags & flagSizesBehind) &&
        !std::equal(local.data() + 14, local.data() + 26, central.data() + 16)) {
        return ZipResult::Damaged;
    }
    entry.packed = local.subspan(skip, packed);
    return ZipResult::Ok;
}

ZipResult ReadEntry(Bytes files, Bytes central, std::string_view name, ZipEntry& entry) {
    const std::uint16_t flags = Get16(central, 8), method = Get16(central, 10);
    if (flags & (flagEncrypted | flagStrong | flagMasked)) {
        return ZipResult::Unsupported;
    }
    if (method != methodStored && method != methodDeflated) {
        return ZipResult::Unsupported;
    }
    entry.isDeflated = method == methodDeflated;
    entry.dosTime = Get16(central, 12);
    entry.dosDate = Get16(central, 14);
    entry.crc = Get32(central, 16);
    entry.size = Get32(central, 24);
    if (Get32(central, 20) == 0xFFFFFFFF || entry.size == 0xFFFFFFFF ||
        Get32(central, 42) == 0xFFFFFFFF || Get16(central, 34) != 0) {
        return ZipResult::Unsupported;
    }

    std::u16string decoded;
    if (!DecodeEntryName(name, flags & flagUtf8, decoded) ||
        !MakeRelativePath(decoded, entry.path, entry.isFolder)) {
        return ZipResult::UnsafeName;
    }
    if (!IsPlainKind(Get32(central, 38), entry.isFolder)) {
        return ZipResult::UnsafeName;
    }

    const ZipResult result = LocateBytes(files, central, name, entry);
    if (result != ZipResult::Ok) {
        return result;
    }
    const bool sizesLie = !entry.isDeflated && entry.size != entry.packed.size();
    return sizesLie || (entry.isFolder && entry.size != 0) ? ZipResult::Damaged : ZipResult::Ok;
}

// Two entries for one file, or a file where another entry needs a folder.
bool HaveClashingPaths(const std::vector<ZipEntry>& entries) {
    std::unordered_map<std::u16string, bool> isFolderAt;
    for (const ZipEntry& entry : entries) {
        const std::u16string path = FoldCase(entry.path);
        for (std::size_t end = path.find(u'\\'); end != std::u16string::npos;
             end = path.find(u'\\', end + 1)) {
            if (!isFolderAt.try_emplace(path.substr(0, end), true).first->second) {
                return true;
            }
        }
        const auto [place, isNew] = isFolderAt.try_emplace(path, entry.isFolder);
        if (!isNew && !(entry.isFolder && place->second)) {
            return true;
        }
    }
    return false;
}

// Entries that share bytes make a small archive unpack to a huge one.
bool HaveSharedBytes(const std::vector<ZipEntry>& entries) {
    std::vector<Bytes> packed;
    for (const ZipEntry& entry : entries) {
        if (!entry.packed.empty()) {
            packed.push_back(entry.packed);
        }
    }
    std::sort(packed.begin(), packed.end(), [](Bytes a, Bytes b) { return a.data() < b.data(); });
    for (std::size_t i = 1; i < packed.size(); ++i) {
        if (packed[i - 1].data() + packed[i - 1].size() > packed[i].data()) {
            return true;
        }
    }
    return false;
}

ZipResult Inflate(const ZipEntry& entry, z_stream& stream, const ZipSink& sink) {
    // One byte more than announced, so that a file that goes on is noticed.
    const std::size_t room = std::min<std::uint64_t>(std::uint64_t{entry.size} + 1, pieceSize);
    const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    std::uint64_t written = 0;
    uLong crc = crc32(0, nullptr, 0);
    stream.next_in = const_cast<Bytef*>(entry.packed.data());
    stream.avail_in = static_cast<uInt>(entry.packed.size());
    for (int state = Z_OK; state != Z_STREAM_END;) {
        stream.next_out = buffer.get();
        stream.avail_out = static_cast<uInt>(room);
        state = inflate(&stream, Z_NO_FLUSH);
        const std::size_t got = room - stream.avail_out;
        if ((state != Z_OK && state != Z_STREAM_END) || got > entry.size - written) {
            return ZipResult::Damaged;
        }
        written += got;
        crc = crc32(crc, buffer.get(), static_cast<uInt>(got));
        if (got != 0 && !sink({buffer.get(), got})) {
            return ZipResult::SinkFailed;
        }
    }
    const bool isWhole = written == entry.size && crc == entry.crc && stream.avail_in == 0;
    return isWhole ? ZipResult::Ok : ZipResult::Damaged;
}

}  // namespace

bool LooksLikeZip(Bytes beginning) {
    return beginning.size() >= 4 &&
           (Get32(beginning, 0) == localSignature || Get32(beginning, 0) == endSignature);
}

ZipResult ReadEntries(Bytes archive, std::vector<ZipEntry>& entries) {
    entries.clear();
    Directory directory;
    ZipResult result = FindDirectory(archive, directory);
    if (result != ZipResult::Ok) {
        return result;
    }
    Bytes rest = directory.headers;
    for (std::size_t i = 0; i < directory.count; ++i) {
        if (rest.size() < centralSize || Get32(rest, 0) != centralSignature) {
            return ZipResult::Damaged;
        }
        const std::size_t nameSize = Get16(rest, 28);
        const std::size_t whole = centralSize + nameSize + Get16(rest, 30) + Get16(rest, 32);
        if (whole > rest.size()) {
            return ZipResult::Damaged;
        }
        const std::string_view name(reinterpret_cast<const char*>(rest.data()) + centralSize,
                                    nameSize);
        result = ReadEntry(directory.files, rest.first(whole), name, entries.emplace_back());
        if (result != ZipResult::Ok) {
            return result;
        }
        rest = rest.subspan(whole);
    }
    if (!rest.empty() || HaveSharedBytes(entries) || HaveClashingPaths(entries)) {
        return ZipResult::Damaged;
    }
    return ZipResult::Ok;
}

ZipResult UnpackEntry(const ZipEntry& entry, const ZipSink& sink) {
    if (!entry.isDeflated) {
        const auto size = static_cast<uInt>(entry.packed.size());
        if (crc32(crc32(0, nullptr, 0), entry.packed.data(), size) != entry.crc) {
            return ZipResult::Damaged;
        }
        return entry.packed.empty() || sink(entry.packed) ? ZipResult::Ok : ZipResult::SinkFailed;
    }
    z_stream stream{};
    // Negative: a bare deflate stream, without zlib's own header.
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<z_stream, int (*)(z_stream*)> closer(&stream, inflateEnd);
    return Inflate(entry, stream, sink);
}
