#include "preview/Capture.h"

#include <wincodec.h>
#include <wrl/client.h>

#include <algorithm>

namespace {

using Microsoft::WRL::ComPtr;

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

bool StorePng(IWICImagingFactory* factory, const Pixels& pixels, const std::wstring& path) {
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    const UINT stride = static_cast<UINT>(pixels.width) * 4;
    const UINT size = stride * static_cast<UINT>(pixels.height);
    auto* bytes = reinterpret_cast<BYTE*>(const_cast<std::uint32_t*>(pixels.rows.data()));
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    ComPtr<IWICBitmap> bitmap;
    return SUCCEEDED(factory->CreateStream(stream.GetAddressOf())) &&
           SUCCEEDED(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE)) &&
           SUCCEEDED(
               factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf())) &&
           SUCCEEDED(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache)) &&
           SUCCEEDED(encoder->CreateNewFrame(frame.GetAddressOf(), nullptr)) &&
           SUCCEEDED(frame->Initialize(nullptr)) &&
           SUCCEEDED(
               frame->SetSize(static_cast<UINT>(pixels.width), static_cast<UINT>(pixels.height))) &&
           SUCCEEDED(frame->SetPixelFormat(&format)) &&
           SUCCEEDED(factory->CreateBitmapFromMemory(
               static_cast<UINT>(pixels.width), static_cast<UINT>(pixels.height),
               GUID_WICPixelFormat32bppBGR, stride, size, bytes, bitmap.GetAddressOf())) &&
           SUCCEEDED(frame->WriteSource(bitmap.Get(), nullptr)) && SUCCEEDED(frame->Commit()) &&
           SUCCEEDED(encoder->Commit());
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

bool WritePng(const Pixels& pixels, const std::wstring& path) {
    ComPtr<IWICImagingFactory> factory;
    return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IWICImagingFactory,
                                      reinterpret_cast<void**>(factory.GetAddressOf()))) &&
           StorePng(factory.Get(), pixels, path);
}
