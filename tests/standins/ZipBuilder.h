#pragma once

/// Builds zip archives by hand, the lying ones too.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// One entry as it will be written. What stays at -1 is filled with the true value; other values go
/// into both headers as they are.
struct ZipPart {
    std::string name;
    std::string content = {};
    bool deflate = false;
    std::int64_t method = -1;
    std::int64_t size = -1;
    std::int64_t packedSize = -1;
    std::int64_t crc = -1;
    std::uint16_t flags = 0;
    std::uint32_t attributes = 0;
    std::int64_t localOffset = -1;  // in the central header
};

/// tailEdit gets the end record (22 bytes) before it is written.
std::string BuildZip(const std::vector<ZipPart>& parts,
                     const std::function<void(std::string&)>& tailEdit = {});

/// count bytes that deflate cannot pack, always the same ones.
std::string MakeNoise(std::size_t count);

void Put16(std::string& bytes, std::size_t at, std::uint32_t value);
void Put32(std::string& bytes, std::size_t at, std::uint32_t value);
