#include "ui/BackgroundImage.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include "ui/Fakes.h"

namespace {

template <std::size_t Size>
std::string Bytes(const char (&literal)[Size]) {
    return std::string(literal, Size - 1);
}

// Size of the bitmap, which is deleted, and the colours at the given places of it, blue first;
// "none" for null.
std::string Load(std::initializer_list<POINT> places) {
    const HBITMAP bitmap = LoadBackgroundBitmap();
    BITMAP picture{};
    if (GetObjectW(bitmap, sizeof picture, &picture) == 0) {
        return "none";
    }
    std::string text = std::to_string(picture.bmWidth) + "x" + std::to_string(picture.bmHeight);
    const HDC context = CreateCompatibleDC(nullptr);
    SelectObject(context, bitmap);
    for (const POINT& place : places) {
        char digits[16];
        text += std::string(" ") + _ultoa(GetPixel(context, place.x, place.y), digits, 16);
    }
    DeleteDC(context);
    DeleteObject(bitmap);
    return text;
}

}  // namespace

TEST(BackgroundImage, TakesAnySizeAndFormatButOneFrameOnly) {
    CoInitialize(nullptr);
    // The product's own: the track of the bar and the line around it.
    EXPECT_EQ(Load({{90, 176}, {409, 190}, {89, 180}}), "500x254 e3e7e5 e3e7e5 b9bcba");
    // Two pixels: half transparent, which darkens its colours, and opaque.
    const std::string png = Bytes(
        "\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\0\0\2\0\0\0\1\x08\x06\0\0\0\xf4\x22\x7f\x8a\0\0\0\x11"
        "IDAT\x78\xda\x63\x38\x91\x62\xd4\xc0\xc8\xc4\xfc\x1f\0\x0d\xc0\2\xe4\xc8\x59\x8a\xdd"
        "\0\0\0\0IEND\xae\x42\x60\x82");
    const std::string gifHead = Bytes("GIF89a\1\0\1\0\x80\0\0\x09\x08\x07\xff\xff\xff");
    const std::string gifFrame = Bytes("\x2c\0\0\0\0\1\0\1\0\0\2\2\x44\1\0");
    const std::pair<std::string, const char*> cases[] = {
        {png, "2x1 193264"},
        {gifHead + gifFrame + ";", "1x1 70809"},
        {gifHead + gifFrame + gifFrame + ";", "none"},
        {png.substr(0, 40), "none"},
    };
    for (const auto& [bytes, outcome] : cases) {
        const FakeResource resource(L"PNG", &bytes);
        EXPECT_EQ(Load({{0, 0}}), outcome) << bytes;
    }
    const FakeResource missing(L"PNG", nullptr);
    EXPECT_EQ(Load({}), "none");
    CoUninitialize();
}
