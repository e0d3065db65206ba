#include "preview/Capture.h"

#include <algorithm>

namespace {

constexpr std::uint32_t colourMask = 0x00FFFFFF;

BITMAPINFO DescribeRows(int width, int height) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

}  // namespace

Pixels ReadBitmap(HBITMAP bitmap) {
    BITMAP described{};
    if (GetObjectW(bitmap, sizeof described, &described) == 0) {
        return {};
    }
    Pixels pixels{described.bmWidth, described.bmHeight, {}};
    pixels.rows.resize(static_cast<size_t>(pixels.width) * static_cast<size_t>(pixels.height));
    BITMAPINFO info = DescribeRows(pixels.width, pixels.height);
    const HDC screen = GetDC(nullptr);
    const int lines = GetDIBits(screen, bitmap, 0, static_cast<UINT>(pixels.height),
                                pixels.rows.data(), &info, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    return lines == pixels.height ? pixels : Pixels{};
}

Pixels CaptureWindow(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap =
        CreateCompatibleBitmap(screen, place.right - place.left, place.bottom - place.top);
    const HGDIOBJ former = SelectObject(memory, bitmap);
    const HDC shown = GetWindowDC(window);
    // A box of a language written from right to left would come out mirrored.
    SetLayout(shown, 0);
    const BOOL drawn = BitBlt(memory, 0, 0, place.right - place.left, place.bottom - place.top,
                              shown, 0, 0, SRCCOPY);
    ReleaseDC(window, shown);
    SelectObject(memory, former);
    const Pixels pixels = drawn ? ReadBitmap(bitmap) : Pixels{};
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return pixels;
}

bool IsOneColour(const Pixels& pixels) {
    return std::all_of(pixels.rows.begin(), pixels.rows.end(), [&pixels](std::uint32_t pixel) {
        return ((pixel ^ pixels.rows.front()) & colourMask) == 0;
    });
}
