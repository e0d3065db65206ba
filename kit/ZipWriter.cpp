#include "kit/ZipWriter.h"

#include <windows.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "kit/Files.h"
#include "kit/PackedSize.h"
#include "kit/PiecePacker.h"

namespace {

// APPNOTE.TXT, chapters 4.3.7 (local header), 4.3.12 (central header), 4.3.16 (end record), 4.4.
constexpr std::uint32_t localSignature = 0x04034b50, centralSignature = 0x02014b50,
                        endSignature = 0x06054b50;
constexpr std::uint16_t versionNeeded = 20, flagUtf8 = 0x0800, stored = 0, deflated = 8;
constexpr std::uint32_t folderAttribute = 0x10;

constexpr DWORD pieceSize = 512 << 10;
constexpr std::size_t windowSize = 32 << 10;  // how far back a packed piece can refer
// Smaller files are not worth a look at whether packing them saves anything.
constexpr std::uint64_t sampledSize = 1 << 20;
constexpr std::uint64_t longestFile = 0xFFFFFFFE;

struct Entry {
    std::string name;
    std::uint16_t time = 0, date = 0;
    std::uint16_t method = stored;
    std::uint32_t crc = 0, packed = 0, offset = 0;
    std::uint64_t size = 0;
    bool started = false;
};

void Put16(std::string& data, std::uint32_t value) {
    data += static_cast<char>(value);
    data += static_cast<char>(value >> 8);
}

void Put32(std::string& data, std::uint32_t value) {
    Put16(data, value);
    Put16(data, value >> 16);
}

/// Fills the time as MS-DOS has it: two-second steps from 1980 to 2107.
void StampTime(std::uint64_t written, Entry& entry) {
    const FILETIME fileTime = {static_cast<DWORD>(written), static_cast<DWORD>(written >> 32)};
    SYSTEMTIME t = {};
    if (!FileTimeToSystemTime(&fileTime, &t) || t.wYear < 1980 || t.wYear > 2107) {
        t = {1980, 1, 0, 1, 0, 0, 0, 0};
    }
    entry.date = static_cast<std::uint16_t>((t.wYear - 1980) << 9 | t.wMonth << 5 | t.wDay);
    entry.time = static_cast<std::uint16_t>(t.wHour << 11 | t.wMinute << 5 | t.wSecond / 2);
}

/// What both headers have in common.
std::string CommonPart(const Entry& entry) {
    std::string part;
    Put16(part, versionNeeded);
    Put16(part, flagUtf8);
    Put16(part, entry.method);
    Put16(part, entry.time);
    Put16(part, entry.date);
    Put32(part, entry.crc);
    Put32(part, entry.packed);
    Put32(part, static_cast<std::uint32_t>(entry.size));
    Put16(part, static_cast<std::uint32_t>(entry.name.size()));
    Put16(part, 0);  // extra fields
    return part;
}

std::string LocalHeader(const Entry& entry) {
    std::string header;
    Put32(header, localSignature);
    return header + CommonPart(entry) + entry.name;
}

std::string CentralHeader(const Entry& entry) {
    std::string header;
    Put32(header, centralSignature);
    Put16(header, versionNeeded);
    header += CommonPart(entry);
    Put16(header, 0);  // comment
    Put16(header, 0);  // disk
    Put16(header, 0);  // internal attributes
    Put32(header, entry.name.back() == '/' ? folderAttribute : 0);
    Put32(header, entry.offset);
    return header + entry.name;
}

/// The archive as it grows. The first failure stays in `failure`, what follows it is skipped.
class Archive {
  public:
    explicit Archive(const std::wstring& path)
        : path(path), file(OpenPath(path, GENERIC_WRITE, 0, CREATE_ALWAYS)) {
        if (!file) {
            Fail(path, "cannot be made", GetLastError());
        }
    }

    void Add(const ZipItem& item);
    void Finish();

    Failure failure;

  private:
    void AddFile(const std::wstring& source);
    void ReadPieces(const File& source, const std::wstring& name);
    void WriteOldest();
    void WriteAt(std::uint64_t offset, std::string_view data);
    void Fail(const std::wstring& where, const char* what, DWORD error) {
        if (!failure) {
            failure = Narrow(where) + ": " + what + ": " + DescribeError(error);
        }
    }

    std::wstring path;
    File file;
    std::uint64_t length = 0;
    std::vector<Entry> entries;
    PiecePacker packer;
};

void Archive::WriteAt(std::uint64_t offset, std::string_view data) {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD written = 0;
    if (!WriteFile(file.get(), data.data(), static_cast<DWORD>(data.size()), &written, &place)) {
        Fail(path, "cannot be written", GetLastError());
    }
    length = std::max(length, offset + data.size());
    if (length >= archiveLimit && !failure) {
        failure = Narrow(path) + ": grows to 2 GiB; expected less";
    }
}

void Archive::Add(const ZipItem& item) {
    if (failure) {
        return;
    }
    Entry entry;
    entry.name = item.name;
    StampTime(item.written, entry);
    entries.push_back(std::move(entry));
    if (item.name.back() != '/') {
        AddFile(item.source);
        return;
    }
    auto piece = std::make_unique<Piece>();
    piece->stream = entries.size() - 1;
    piece->isStored = true;
    packer.Submit(std::move(piece));
}

void Archive::AddFile(const std::wstring& source) {
    const File from = OpenToRead(source);
    if (!from) {
        Fail(source, "cannot be opened", GetLastError());
        return;
    }
    LARGE_INTEGER size = {};
    GetFileSizeEx(from.get(), &size);
    const auto bytes = static_cast<std::uint64_t>(size.QuadPart);
    const bool saves = bytes < sampledSize || EstimatePacked(from.get(), bytes) < bytes / 100 * 98;
    entries.back().method = bytes > 0 && saves ? deflated : stored;
    ReadPieces(from, source);
}

void Archive::ReadPieces(const File& source, const std::wstring& name) {
    std::string next(pieceSize, '\0'), before;
    DWORD got = 0;
    const auto read = [&] {
        if (ReadFile(source.get(), next.data(), pieceSize, &got, nullptr)) {
            return true;
        }
        Fail(name, "cannot be read", GetLastError());
        return false;
    };
    if (!read()) {
        return;
    }
    for (bool isLast = false; !isLast && !failure;) {
        auto piece = std::make_unique<Piece>();
        piece->stream = entries.size() - 1;
        piece->isStored = entries.back().method == stored;
        piece->plain.assign(next, 0, got);
        piece->before = std::exchange(before, {});
        if (!read()) {
            return;
        }
        isLast = got == 0;
        piece->isLast = isLast;
        if (!isLast && !piece->isStored) {
            before = piece->plain.substr(piece->plain.size() -
                                         std::min(windowSize, piece->plain.size()));
        }
        packer.Submit(std::move(piece));
        while (packer.IsFull()) {
            WriteOldest();
        }
    }
}

void Archive::WriteOldest() {
    const std::unique_ptr<Piece> piece = packer.Take();
    Entry& entry = entries[piece->stream];
    if (piece->failed && !failure) {
        failure = entry.name + ": cannot be packed: out of memory";
    }
    if (failure) {
        return;
    }
    const bool isFirst = !std::exchange(entry.started, true);
    if (isFirst) {
        entry.offset = static_cast<std::uint32_t>(length);
    }
    entry.crc = static_cast<std::uint32_t>(
        crc32_combine(entry.crc, piece->crc, static_cast<z_off_t>(piece->length)));
    entry.size += piece->length;
    entry.packed += static_cast<std::uint32_t>(piece->packed.size());
    if (entry.size > longestFile) {
        failure = entry.name + ": has 4 GiB or more; expected less";
    } else if (isFirst) {
        WriteAt(length, LocalHeader(entry) + piece->packed);
    } else {
        WriteAt(length, piece->packed);
    }
    // The header in front of several pieces knows of all of them only now.
    if (piece->isLast && !isFirst && !failure) {
        WriteAt(entry.offset, LocalHeader(entry));
    }
}

void Archive::Finish() {
    while (!packer.IsEmpty()) {
        WriteOldest();
    }
    if (failure) {
        return;
    }
    const std::uint64_t start = length;
    std::string tail;
    for (const Entry& entry : entries) {
        tail += CentralHeader(entry);
    }
    const auto size = static_cast<std::uint32_t>(tail.size());
    Put32(tail, endSignature);
    Put32(tail, 0);  // disks
    Put16(tail, static_cast<std::uint32_t>(entries.size()));
    Put16(tail, static_cast<std::uint32_t>(entries.size()));
    Put32(tail, size);
    Put32(tail, static_cast<std::uint32_t>(start));
    Put16(tail, 0);  // comment
    WriteAt(start, tail);
}

}  // namespace

Failure WriteZip(const std::wstring& path, std::vector<ZipItem> items) {
    if (items.size() > mostEntries) {
        return Narrow(path) + ": would have " + std::to_string(items.size()) +
               " entries; expected at most " + std::to_string(mostEntries);
    }
    std::sort(items.begin(), items.end(),
              [](const ZipItem& a, const ZipItem& b) { return a.name < b.name; });
    Archive archive(path);
    for (const ZipItem& item : items) {
        archive.Add(item);
    }
    archive.Finish();
    return archive.failure;
}
