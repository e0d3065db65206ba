#include "ui/BackgroundImage.h"

#include <objidl.h>
#include <wincodec.h>
#include <wrl/client.h>

#include <cstring>

#include "base/ResourceData.h"
#include "base/SystemLibrary.h"
#include "resources/ResourceIds.h"

namespace {

using Microsoft::WRL::ComPtr;

constexpr UINT bytesPerPixel = 4;

// A movable copy for the stream, which frees it.
HGLOBAL CopyToGlobal(const void* data, DWORD size) {
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
    if (memory == nullptr) {
        return nullptr;
    }
    void* target = GlobalLock(memory);
    if (target == nullptr) {
        GlobalFree(memory);
        return nullptr;
    }
    std::memcpy(target, data, size);
    GlobalUnlock(memory);
    return memory;
}

ComPtr<IStream> LoadPngStream() {
    ComPtr<IStream> stream;
    const ResourceData picture = FindResourceData(backgroundType, IDR_BACKGROUND);
    if (picture.data == nullptr) {
        return stream;
    }
    const HGLOBAL memory = CopyToGlobal(picture.data, picture.size);
    if (memory != nullptr && FAILED(CreateStreamOnHGlobal(memory, TRUE, stream.GetAddressOf()))) {
        GlobalFree(memory);
        stream.Reset();
    }
    return stream;
}

ComPtr<IWICBitmapSource> DecodePng(IStream* stream) {
    ComPtr<IWICBitmapSource> converted;
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmapDecoder> decoder;
    ComPtr<IWICBitmapFrameDecode> frame;
    UINT frames = 0;
    if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IWICImagingFactory,
                                reinterpret_cast<void**>(factory.GetAddressOf()))) ||
        FAILED(factory->CreateDecoderFromStream(stream, nullptr, WICDecodeMetadataCacheOnLoad,
                                                decoder.GetAddressOf())) ||
        FAILED(decoder->GetFrameCount(&frames)) || frames != 1 ||
        FAILED(decoder->GetFrame(0, frame.GetAddressOf()))) {
        return converted;
    }
    const auto convert =
        SystemFunction(L"windowscodecs.dll", "WICConvertBitmapSource", &WICConvertBitmapSource);
    if (convert != nullptr) {
        convert(GUID_WICPixelFormat32bppPBGRA, frame.Get(), converted.GetAddressOf());
    }
    return converted;
}

HBITMAP CreateSection(UINT width, UINT height, void*& bits) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = -static_cast<LONG>(height);
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 8 * bytesPerPixel;
    info.bmiHeader.biCompression = BI_RGB;
    const HDC screen = GetDC(nullptr);
    const HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

HBITMAP CreateDibFromSource(IWICBitmapSource* source) {
    UINT width = 0;
    UINT height = 0;
    if (FAILED(source->GetSize(&width, &height)) || width == 0 || height == 0) {
        return nullptr;
    }
    void* bits = nullptr;
    const HBITMAP bitmap = CreateSection(width, height, bits);
    if (bitmap == nullptr) {
        return nullptr;
    }
    const UINT stride = bytesPerPixel * width;
    if (FAILED(source->CopyPixels(nullptr, stride, stride * height, static_cast<BYTE*>(bits)))) {
        DeleteObject(bitmap);
        return nullptr;
    }
    return bitmap;
}

}  // namespace

HBITMAP LoadBackgroundBitmap() {
    const ComPtr<IStream> stream = LoadPngStream();
    if (!stream) {
        return nullptr;
    }
    const ComPtr<IWICBitmapSource> source = DecodePng(stream.Get());
    return source ? CreateDibFromSource(source.Get()) : nullptr;
}
