#pragma once

/// Reads zip archives held in memory, as described in PKWARE's APPNOTE.TXT: stored and deflated
/// entries, no encryption, no parts, no zip64. Trusts nothing: what the archive says about itself
/// is checked against its bytes. Portable; may throw std::bad_alloc.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

using Bytes = std::span<const std::uint8_t>;

enum class ZipResult {
    Ok,
    Damaged,      // structure, size or checksum do not agree with the bytes
    Unsupported,  // encrypted, several disks, zip64, another method
    UnsafeName,   // a name or a kind of file that must not be unpacked
    SinkFailed,   // the receiver of the bytes gave up
};

struct ZipEntry {
    std::u16string path;  // relative, backslashes, safe by the rules of EntryNames.h
    bool isFolder = false;
    bool isDeflated = false;
    std::uint32_t size = 0;  // unpacked, in bytes
    std::uint32_t crc = 0;
    std::uint16_t dosTime = 0;
    std::uint16_t dosDate = 0;
    Bytes packed;  // points into the archive
};

/// Whether a file that begins with these bytes claims to be a zip archive.
bool LooksLikeZip(Bytes beginning);

/// Reads all entries of the archive and checks names and structure, before anything is unpacked.
/// entries is of use only after ZipResult::Ok, and as long as the archive stays in memory.
ZipResult ReadEntries(Bytes archive, std::vector<ZipEntry>& entries);

/// Receives consecutive pieces of a file; false ends the unpacking.
using ZipSink = std::function<bool(Bytes)>;

/// Unpacks one entry in pieces of up to 1 MiB. The sink never gets more than the entry's size; size
/// and checksum are known to be right only when the result is ZipResult::Ok.
ZipResult UnpackEntry(const ZipEntry& entry, const ZipSink& sink);
