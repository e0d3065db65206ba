#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

/// Pixels, top row first: blue, green, red and an unused byte each.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> rows;
};

/// What a window shows, wherever it lies. Without pixels when the window cannot be drawn.
Pixels CaptureWindow(HWND window);

/// The pixels of a 32-bit bitmap.
Pixels ReadBitmap(HBITMAP bitmap);

/// True when every pixel is the same, so that nothing can be seen.
bool IsOneColour(const Pixels& pixels);

/// Writes a PNG. COM must be initialised on the calling thread. False when that fails.
bool WritePng(const Pixels& pixels, const std::wstring& path);
