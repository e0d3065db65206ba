#include "kit/Images.h"

#include <windows.h>
#include <objbase.h>
#include <wincodec.h>
#include <wrl/client.h>

#include <string_view>

namespace {

using Microsoft::WRL::ComPtr;

/// COM on this thread while it lives, whether or not the caller has it too.
struct ComScope {
    const HRESULT result = CoInitialize(nullptr);
    ~ComScope() {
        if (SUCCEEDED(result)) {
            CoUninitialize();
        }
    }
};

ComPtr<IWICImagingFactory> MakeFactory() {
    ComPtr<IWICImagingFactory> factory;
    CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                     reinterpret_cast<void**>(factory.GetAddressOf()));
    return factory;
}

UINT CountBytes(const Pixels& pixels) {
    return static_cast<UINT>(pixels.rows.size() * sizeof pixels.rows[0]);
}

UINT CountRowBytes(const Pixels& pixels) {
    return static_cast<UINT>(pixels.width) * sizeof pixels.rows[0];
}

Pixels DecodeFrame(IWICImagingFactory* factory, IWICBitmapDecoder* decoder, UINT index) {
    ComPtr<IWICBitmapFrameDecode> frame;
    ComPtr<IWICFormatConverter> converter;
    UINT width = 0, height = 0;
    if (FAILED(decoder->GetFrame(index, frame.GetAddressOf())) ||
        FAILED(frame->GetSize(&width, &height)) ||
        FAILED(factory->CreateFormatConverter(converter.GetAddressOf())) ||
        FAILED(converter->Initialize(frame.Get(), GUID_WICPixelFormat32bppBGRA,
                                     WICBitmapDitherTypeNone, nullptr, 0,
                                     WICBitmapPaletteTypeCustom))) {
        return {};
    }
    Pixels pixels = {static_cast<int>(width), static_cast<int>(height), {}};
    pixels.rows.resize(static_cast<std::size_t>(width) * height);
    return SUCCEEDED(converter->CopyPixels(nullptr, CountRowBytes(pixels), CountBytes(pixels),
                                           reinterpret_cast<BYTE*>(pixels.rows.data())))
               ? pixels
               : Pixels();
}

bool WriteFrame(IWICImagingFactory* factory, const Pixels& pixels, bool hasAlpha, IStream* stream) {
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    ComPtr<IWICBitmap> bitmap;
    WICPixelFormatGUID format =
        hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
    const auto width = static_cast<UINT>(pixels.width), height = static_cast<UINT>(pixels.height);
    auto* bytes = reinterpret_cast<BYTE*>(const_cast<std::uint32_t*>(pixels.rows.data()));
    return SUCCEEDED(
               factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf())) &&
           SUCCEEDED(encoder->Initialize(stream, WICBitmapEncoderNoCache)) &&
           SUCCEEDED(encoder->CreateNewFrame(frame.GetAddressOf(), nullptr)) &&
           SUCCEEDED(frame->Initialize(nullptr)) && SUCCEEDED(frame->SetSize(width, height)) &&
           SUCCEEDED(frame->SetPixelFormat(&format)) &&
           SUCCEEDED(factory->CreateBitmapFromMemory(
               width, height, hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat32bppBGR,
               CountRowBytes(pixels), CountBytes(pixels), bytes, bitmap.GetAddressOf())) &&
           SUCCEEDED(frame->WriteSource(bitmap.Get(), nullptr)) && SUCCEEDED(frame->Commit()) &&
           SUCCEEDED(encoder->Commit());
}

}  // namespace

bool ReadPngHead(const std::string& file, PngHead& head) {
    constexpr std::string_view start("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    if (file.compare(0, start.size(), start) != 0 || file.size() < 33) {
        return false;
    }
    const auto byte = [&file](std::size_t place) {
        return static_cast<unsigned>(static_cast<unsigned char>(file[place]));
    };
    const auto number = [&byte](std::size_t place) {
        return byte(place) << 24 | byte(place + 1) << 16 | byte(place + 2) << 8 | byte(place + 3);
    };
    head = {number(16), number(20), byte(24), byte(25), byte(28) != 0};
    return true;
}

std::vector<Pixels> DecodeImages(const std::string& file) {
    const ComScope com;
    const ComPtr<IWICImagingFactory> factory = MakeFactory();
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapDecoder> decoder;
    UINT count = 0;
    auto* bytes = reinterpret_cast<BYTE*>(const_cast<char*>(file.data()));
    if (!factory || FAILED(factory->CreateStream(stream.GetAddressOf())) ||
        FAILED(stream->InitializeFromMemory(bytes, static_cast<DWORD>(file.size()))) ||
        FAILED(factory->CreateDecoderFromStream(
            stream.Get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.GetAddressOf())) ||
        FAILED(decoder->GetFrameCount(&count))) {
        return {};
    }
    std::vector<Pixels> images;
    for (UINT i = 0; i < count; ++i) {
        images.push_back(DecodeFrame(factory.Get(), decoder.Get(), i));
    }
    return images;
}

std::string EncodePng(const Pixels& pixels, bool hasAlpha) {
    const ComScope com;
    const ComPtr<IWICImagingFactory> factory = MakeFactory();
    ComPtr<IStream> stream;
    HGLOBAL memory = nullptr;
    STATSTG facts = {};
    if (!factory || FAILED(CreateStreamOnHGlobal(nullptr, TRUE, stream.GetAddressOf())) ||
        !WriteFrame(factory.Get(), pixels, hasAlpha, stream.Get()) ||
        FAILED(GetHGlobalFromStream(stream.Get(), &memory)) ||
        FAILED(stream->Stat(&facts, STATFLAG_NONAME))) {
        return {};
    }
    std::string png(static_cast<const char*>(GlobalLock(memory)), facts.cbSize.LowPart);
    GlobalUnlock(memory);
    return png;
}
