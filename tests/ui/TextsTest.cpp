#include "ui/Texts.h"

#include <gtest/gtest.h>

#include <cstring>

#include "ui/Fakes.h"

namespace {

// The table with another number at one place.
std::string With(std::size_t index, std::uint32_t value) {
    std::string table = NumberedTexts();
    std::memcpy(&table[index * sizeof value], &value, sizeof value);
    return table;
}

}  // namespace

TEST(GetString, IsEmptyWhenTheTableIsMissingOrDamaged) {
    LANGID language = 0x0407;
    const Replaced user = Replace("kernel32.dll", "GetUserDefaultUILanguage",
                                  GetUserDefaultUILanguage, [&](auto) { return language; });
    constexpr std::size_t germanTitle = 3 + 9 * textRows;
    const std::string whole = NumberedTexts();
    const struct {
        const char* name;
        std::string table;
        int row = TextTitle;
        const wchar_t* text = L"";
    } cases[] = {
        {"whole", whole, TextTitle, L"text 0"},
        {"no such row", whole, 20},
        {"a negative row", whole, -1},
        {"cut in the header", whole.substr(0, 11)},
        {"cut in the offsets", whole.substr(0, germanTitle * 4)},
        {"another kind of data", With(0, 0x32545854)},
        {"the language is missing", With(1, 9)},
        {"no text", With(germanTitle, 0)},
        {"a text behind the end", With(germanTitle, static_cast<std::uint32_t>(whole.size()))},
        {"more rows than there is room for", With(2, 1000000)},
    };
    for (const auto& row : cases) {
        const FakeResource resource(L"TEXTS", &row.table);
        EXPECT_EQ(GetString(row.row), std::wstring(row.text)) << row.name;
    }
    {
        const FakeResource none(L"TEXTS", nullptr);
        EXPECT_EQ(GetString(TextTitle), std::wstring());
    }
    // 12 + rows * 4 is 4 less than 2 to the 32nd: what stands before the table is not part of it.
    const std::string table = With(2, 0x3FFFFFFC);
    std::string damaged = table.substr(12, 4) + table;
    language = 0x0409;
    const FakeResource resource(L"TEXTS", &table);
    const Replaced lock = Replace("kernel32.dll", "LockResource", LockResource, [&](auto, auto) {
        return static_cast<void*>(damaged.data() + 4);
    });
    EXPECT_EQ(GetString(TextTitle), std::wstring());
}
