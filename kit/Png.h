#pragma once

#include <string>

/// A PNG (RFC 2083) as its header and its data chunks tell it.
struct Png {
    unsigned width, height;
    unsigned depth, colour;  // bits per channel; 2 = RGB, 6 = RGBA
    bool isInterlaced;
    std::string packed;  // the compressed rows, one stream
};

/// Reads a whole PNG and checks what holds it together: header, chunks, their checksums, the end.
/// Returns null, or what is wrong.
const char* ReadPng(const std::string& file, Png& png);

/// Whether UnpackPng knows the kind: 8 bits per channel, RGB or RGBA, not interlaced.
bool IsPlain(const Png& png);
unsigned CountChannels(const Png& png);

/// Unpacks a plain PNG: rows from the top, each pixel a byte per channel, red first. Returns false
/// when it does not hold as many rows as it says.
bool UnpackPng(const Png& png, std::string& pixels);
