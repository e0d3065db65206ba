// Looks at the pages that tests/preview/run has made in the current directory.

#include <map>

#include <gtest/gtest.h>

#include "kit/Images.h"
#include "preview/Capture.h"
#include "preview/Record.h"
#include "support/Scratch.h"

namespace {

TEST(Preview, ShowsEveryWindowAndBox) {
    // Where the bar ends, at 45, 60 and 75 per cent; there the track goes on.
    const std::map<std::string, int> bars = {
        {"install-downloading", 143}, {"update", 191}, {"uninstall", 239}};
    const std::string page = ReadFileText(L"good\\index.html");
    Record record;
    ASSERT_TRUE(ParseRecord(ReadFileText(L"good\\hi\\pictures.json"), record));
    EXPECT_EQ(record.pictures.size(), 14u);
    for (const Picture& picture : record.pictures) {
        EXPECT_NE(page.find("src=\"hi/" + picture.file + "\""), page.npos) << picture.scene;
        const std::wstring file(picture.file.begin(), picture.file.end());
        const Pixels pixels = DecodeImages(ReadFileText(L"good\\hi\\" + file)).at(0);
        EXPECT_EQ(pixels.width, picture.width) << picture.scene;
        EXPECT_FALSE(IsOneColour(pixels)) << picture.scene;
        if (const auto bar = bars.find(picture.scene); bar != bars.end()) {
            const std::size_t end = static_cast<std::size_t>(183 * 500 + 90 + bar->second);
            EXPECT_EQ(pixels.rows.at(end - 1) & 0xFFFFFF, 0x007EE0u) << picture.scene;
            EXPECT_EQ(pixels.rows.at(end) & 0xFFFFFF, 0xE5E7E3u) << picture.scene;
        }
    }
    EXPECT_EQ(ReadFileText(L"good.txt").find("warning"), page.npos);
}

TEST(Preview, WarnsOfWhatCannotBeRead) {
    const std::tuple<const wchar_t*, const char*, const char*> warnings[] = {
        {L"bad.txt", "de: install-downloading: status \"Laden und & warten ",
         "wide, its place 500"},
        {L"bad.txt", "de: install-downloading: status \"Laden und & warten ", "holds \"&\""},
        {L"bad.txt", "de: access-blocked-elevate: the button \"Wiederholen immer ", "pixels wide"},
        {L"bad.txt", "de: install-preparing, install-downloading, ", "contrast of title against"},
        {L"bad.txt", "uninstall: ", "contrast of status against the picture is 2.0"},
        {L"bad\\index.html", "<li>de: install-downloading: status &quot;Laden",
         "und &amp; warten "},
        {L"bad\\index.html", "<figure lang=\"de\" class=\"warn\">", "<img src=\"de/update.png\""},
    };
    for (const auto& [file, start, end] : warnings) {
        const std::string said = ReadFileText(file);
        EXPECT_NE(said.find(end, said.find(start)), said.npos) << start << end << "\n" << said;
    }
}

}  // namespace
