// Looks at the pages that tests/preview/run has made in the current directory.

#include <gtest/gtest.h>

#include <windows.h>
#include <objidl.h>
#include <gdiplus.h>

#include "preview/Capture.h"
#include "preview/Legibility.h"
#include "preview/Page.h"
#include "preview/Record.h"
#include "support/Scratch.h"

namespace {

Pixels ReadPng(const std::wstring& path) {
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    HBITMAP bitmap = nullptr;
    Gdiplus::Bitmap(path.c_str()).GetHBITMAP(Gdiplus::Color(), &bitmap);
    const Pixels pixels = ReadBitmap(bitmap);
    DeleteObject(bitmap);
    Gdiplus::GdiplusShutdown(token);
    return pixels;
}

std::uint32_t ColourAt(const Pixels& pixels, int x, int y) {
    return pixels.rows.at(static_cast<size_t>(y * pixels.width + x)) & 0xFFFFFF;
}

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Preview, ShowsEveryWindowAndBox) {
    const std::string page = ReadFileText(L"good\\index.html");
    Record record;
    ASSERT_TRUE(ParseRecord(ReadFileText(L"good\\hi\\pictures.json"), record));
    EXPECT_EQ(record.pictures.size(), 14u);
    for (const Picture& picture : record.pictures) {
        EXPECT_EQ(picture.warnings, std::vector<std::string>()) << picture.scene;
        EXPECT_TRUE(Holds(page, "src=\"hi/" + picture.file + "\"")) << picture.scene;
        const Pixels pixels =
            ReadPng(L"good\\hi\\" + std::wstring(picture.file.begin(), picture.file.end()));
        ASSERT_EQ(pixels.width, picture.width) << picture.scene;
        EXPECT_FALSE(IsOneColour(pixels)) << picture.scene;
    }
}

TEST(Preview, WindowStandsAtTheStageThatIsNamed) {
    // At 45, 60 and 75 per cent: within the bar, and on the track behind its end.
    const std::pair<const wchar_t*, int> bars[] = {
        {L"install-downloading", 143}, {L"update", 191}, {L"uninstall", 239}};
    for (const auto& [name, width] : bars) {
        const Pixels pixels = ReadPng(L"good\\hi\\" + std::wstring(name) + L".png");
        ASSERT_EQ(pixels.width, 500) << name;
        EXPECT_EQ(ColourAt(pixels, 90 + width - 1, 183), 0x007EE0u) << name;
        EXPECT_EQ(ColourAt(pixels, 90 + width, 183), 0xE5E7E3u) << name;
    }
}

TEST(Preview, WarnsOfWhatCannotBeRead) {
    const std::string said = ReadFileText(L"bad.txt");
    const std::string page = ReadFileText(L"bad\\index.html");
    const std::pair<const char*, const char*> warnings[] = {
        {"de: install-downloading: status \"Laden und & warten ", "pixels wide, its place 500"},
        {"de: install-downloading: status \"Laden und & warten ", "holds \"&\""},
        {"de: access-blocked-elevate: the button \"Wiederholen immer noch ", "pixels wide"},
        {"de: install-preparing, install-downloading, ", "contrast of title against the picture"},
        {"uninstall: ", "contrast of status against the picture is 2.0"},
    };
    for (const auto& [start, end] : warnings) {
        const size_t at = said.find(start);
        ASSERT_NE(at, std::string::npos) << start << "\n" << said;
        EXPECT_NE(said.find(end, at), std::string::npos) << end << "\n" << said;
    }
    EXPECT_TRUE(Holds(page, "<li>de: install-downloading: status &quot;Laden und &amp; warten "));
    EXPECT_TRUE(Holds(page, "<figure lang=\"de\" class=\"warn\"><img src=\"de/update.png\""));
    EXPECT_FALSE(Holds(page, "class=\"warn\"><img src=\"de/removed.png\""));
    EXPECT_FALSE(Holds(ReadFileText(L"good.txt"), "warning"));
}

TEST(Preview, ContrastFollowsTheGuidelines) {
    // The darkest grey on which black text passes is 0x75; the one before it does not.
    const std::pair<std::uint32_t, double> greys[] = {
        {0x000000, 1}, {0xFFFFFF, 21}, {0x757575, 4.56}, {0x747474, 4.49}};
    for (const auto& [colour, contrast] : greys) {
        const Pixels plain{4, 4, std::vector<std::uint32_t>(16, colour)};
        EXPECT_NEAR(ContrastBehind(plain, {0, 0, 4, 4}), contrast, 0.01) << std::hex << colour;
    }
    Pixels stained{40, 1, std::vector<std::uint32_t>(40, 0xFFFFFF)};
    stained.rows[0] = stained.rows[1] = 0;
    EXPECT_NEAR(ContrastBehind(stained, {0, 0, 40, 1}), 21, 0.01) << "a speck";
    stained.rows[2] = 0;
    EXPECT_NEAR(ContrastBehind(stained, {0, 0, 40, 1}), 1, 0.01) << "a stain";
    EXPECT_NEAR(ContrastBehind(stained, {3, -5, 90, 9}), 21, 0.01) << "partly outside";
    EXPECT_NEAR(ContrastBehind(stained, {0, 5, 40, 9}), 21, 0.01) << "outside";
}

TEST(Preview, SameWarningOfSeveralLanguagesIsOneLine) {
    const Picture picture{"update", "Update", "update.png", 1, 1, {}, {"too wide"}};
    const std::vector<Record> records = {{"en", {picture, picture}}, {"de", {picture}}};
    EXPECT_EQ(SummariseWarnings(records), std::vector<std::string>{"en, de: update: too wide"});
}

}  // namespace
