#include <windows.h>
#include <objbase.h>

#include "kit/TextTable.h"
#include "support/Replace.h"
#include "ui/BackgroundImage.h"
#include "ui/Texts.h"

using std::string_literals::operator""s;

namespace {

// Lets the program find the caller's first bytes as its resource; none when the size is 0.
Replaced FakeResource(const std::string& bytes, DWORD size) {
    // What a resource's handle points at. The offset counts from the program's start.
    IMAGE_RESOURCE_DATA_ENTRY entry{};
    entry.OffsetToData = bytes.data() - reinterpret_cast<char*>(GetModuleHandleW(nullptr));
    entry.Size = size;
    return Replace(FindResourceW, [=](auto, auto...) mutable {
        return entry.Size == 0 ? nullptr : reinterpret_cast<HRSRC>(&entry);
    });
}

// Size of the bitmap and the colour at a place of it, blue first.
std::string BackgroundAt(int x, int y) {
    CoInitialize(nullptr);
    const HBITMAP bitmap = LoadBackgroundBitmap();
    CoUninitialize();
    BITMAP picture{};
    GetObjectW(bitmap, sizeof picture, &picture);
    const HDC context = CreateCompatibleDC(nullptr);
    SelectObject(context, bitmap);
    char text[50];
    wsprintfA(text, "%dx%d %x", picture.bmWidth, picture.bmHeight, GetPixel(context, x, y));
    return text;
}

}  // namespace

TEST(BackgroundImage, TakesAnySizeAndFormatButOneFrameOnly) {
    // The product's own: the track of the bar and the line around it.
    EXPECT_EQ(BackgroundAt(90, 176), "500x254 e3e7e5");
    EXPECT_EQ(BackgroundAt(89, 180), "500x254 b9bcba");
    // Two pixels, the first half transparent, which darkens its colours.
    const std::string png =
        "\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\0\0\2\0\0\0\1\x08\x06\0\0\0\xf4\x22\x7f\x8a\0\0\0\x11"
        "IDAT\x78\xda\x63\x38\x91\x62\xd4\xc0\xc8\xc4\xfc\x1f\0\x0d\xc0\2\xe4\xc8\x59\x8a\xdd"
        "\0\0\0\0IEND\xae\x42\x60\x82"s;
    const std::string gif = "GIF89a\1\0\1\0\x80\0\0\x09\x08\x07\xff\xff\xff"s;
    const std::string frame = "\x2c\0\0\0\0\1\0\1\0\0\2\2\x44\1\0"s;
    for (const auto& [bytes, outcome] : {std::pair(png, "2x1 193264"),
                                         {gif + frame + ";", "1x1 70809"},
                                         {gif + frame + frame + ";", "0x0 0"},
                                         {png.substr(0, 40), "0x0 0"},
                                         {"", "0x0 0"}}) {
        const Replaced resource = FakeResource(bytes, bytes.size());
        EXPECT_EQ(BackgroundAt(0, 0), outcome) << bytes;
    }
}

TEST(GetString, IsEmptyWhenTheTableIsMissingOrDamaged) {
    const Replaced user = Replace(GetUserDefaultUILanguage, [](auto) -> LANGID { return 0x0407; });
    constexpr unsigned german = 9, firstText = 3 + german * textRows;
    TextCells cells;
    cells[german][0] = L"Titel";
    const std::string whole = EncodeTextTable(cells);
    const DWORD full = whole.size(), text = full - sizeof L"Titel";
    // A number of the table, what stands there instead, where the table ends.
    const DWORD cases[][3] = {
        {1, 12, firstText * 4},
        {1, 12, text},
        {0, 1, full},
        {1, german, full},
        {firstText, 0, full},
        {2, 0x40000000 + textRows, full},  // offsets that reach around 2 to the 32nd
    };
    for (const auto& [index, value, size] : cases) {
        std::string table = whole;
        table.replace(index * 4, 4, reinterpret_cast<const char*>(&value), 4);
        const Replaced resource = FakeResource(table, size);
        EXPECT_STREQ(GetString(0), L"") << index << " " << size;
    }
    const Replaced resource = FakeResource(whole, full);
    EXPECT_EQ(GetString(0) + std::wstring(GetString(textRows)), L"Titel");
}
