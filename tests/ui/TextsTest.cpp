#include "ui/Texts.h"

#include <gtest/gtest.h>

#include <cstring>

#include "kit/TextTable.h"
#include "support/ImportPatch.h"
#include "ui/FakeResource.h"

namespace {

LANGID userLanguage;
std::string damaged;

LANGID WINAPI TellLanguage() {
    return userLanguage;
}

LPVOID WINAPI LockBehindFourBytes(HGLOBAL) {
    return damaged.data() + 4;
}

std::wstring CellText(unsigned column, unsigned row) {
    return L"column " + std::to_wstring(column) + L" row " + std::to_wstring(row);
}

// Every cell names itself; one row is missing.
std::string OwnNames() {
    TextCells cells;
    for (unsigned column = 0; column < textColumns; ++column) {
        for (unsigned row = 0; row < textRows; ++row) {
            cells[column][row] = row == 9 ? L"" : CellText(column, row);
        }
    }
    return EncodeTextTable(cells);
}

// The table with another number at one place.
std::string With(std::size_t index, std::uint32_t value) {
    std::string table = OwnNames();
    std::memcpy(&table[index * sizeof value], &value, sizeof value);
    return table;
}

class GetStringTest : public testing::Test {
    ImportPatch language{"kernel32.dll", "GetUserDefaultUILanguage", AsProc(&TellLanguage)};
};

}  // namespace

TEST_F(GetStringTest, ReadsTheRowInTheUsersLanguage) {
    const std::string table = OwnNames();
    const FakeResource resource(L"TEXTS", &table);
    const struct {
        LANGID language;
        unsigned column;
    } languages[] = {{0x0419, 0}, {0x0409, 1}, {0x041F, 2},  {0x0416, 3},  {0x0816, 3},
                     {0x0412, 4}, {0x0411, 5}, {0x0439, 6},  {0x0C0C, 7},  {0x080A, 8},
                     {0x0407, 9}, {0x0C07, 9}, {0x0401, 10}, {0x0804, 11}, {0x0404, 11},
                     {0x0415, 1}, {0x0413, 1}, {0x0000, 1}};
    for (const auto& row : languages) {
        userLanguage = row.language;
        for (const TextRow text : {TextTitle, TextInstallFailed, TextUpToDateContinue}) {
            EXPECT_EQ(GetString(text), CellText(row.column, text)) << row.language;
        }
    }
    for (const int missing : {9, 20, -1}) {
        EXPECT_EQ(GetString(missing), std::wstring()) << missing;
    }
}

TEST_F(GetStringTest, IsEmptyWhenTheTableIsMissingOrDamaged) {
    constexpr std::size_t germanTitle = 3 + 9 * textRows;
    const std::uint32_t end = static_cast<std::uint32_t>(OwnNames().size());
    const struct {
        const char* name;
        std::string table;
    } cases[] = {
        {"cut in the header", OwnNames().substr(0, 11)},
        {"cut in the offsets", OwnNames().substr(0, germanTitle * 4)},
        {"another kind of data", With(0, 0x32545854)},
        {"the language is missing", With(1, 9)},
        {"no text", With(germanTitle, 0)},
        {"a text behind the end", With(germanTitle, end)},
        {"more rows than there is room for", With(2, 1000000)},
    };
    userLanguage = 0x0407;
    for (const auto& row : cases) {
        const FakeResource resource(L"TEXTS", &row.table);
        EXPECT_EQ(GetString(TextTitle), std::wstring()) << row.name;
    }
    {
        const FakeResource none(L"TEXTS", nullptr);
        EXPECT_EQ(GetString(TextTitle), std::wstring());
    }
    // 12 + rows * 4 is 4 less than 2 to the 32nd: what stands before the table is not part of it.
    const std::string table = With(2, 0x3FFFFFFC);
    damaged = table.substr(12, 4) + table;
    userLanguage = 0x0409;
    const FakeResource resource(L"TEXTS", &table);
    const ImportPatch lock("kernel32.dll", "LockResource", AsProc(&LockBehindFourBytes));
    EXPECT_EQ(GetString(TextTitle), std::wstring());
}
