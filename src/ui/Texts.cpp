#include "ui/Texts.h"

#include <cstdint>
#include <cstring>

#include "resources/ResourceIds.h"

namespace {

// The resource begins with this header, then come the offsets of the texts in bytes from its start,
// column by column, then the texts as UTF-16 with terminators. 0 stands for no text. The kit writes
// it (kit/TextTable.h).
struct TextTableHeader {
    std::uint32_t magic;
    std::uint32_t columns;
    std::uint32_t rows;
};
constexpr std::uint32_t textTableMagic = 0x31545854;  // "TXT1"

struct ResourceBytes {
    const std::uint8_t* data;
    DWORD size;
};

ResourceBytes FindTextTable() {
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(IDR_TEXTS), L"TEXTS");
    const HGLOBAL loaded = resource ? LoadResource(nullptr, resource) : nullptr;
    if (loaded == nullptr) {
        return {nullptr, 0};
    }
    return {static_cast<const std::uint8_t*>(LockResource(loaded)),
            SizeofResource(nullptr, resource)};
}

}  // namespace

int LanguageColumn(LANGID language) {
    switch (PRIMARYLANGID(language)) {
        case LANG_RUSSIAN:
            return 0;
        case LANG_TURKISH:
            return 2;
        case LANG_PORTUGUESE:
            return 3;
        case LANG_KOREAN:
            return 4;
        case LANG_JAPANESE:
            return 5;
        case LANG_HINDI:
            return 6;
        case LANG_FRENCH:
            return 7;
        case LANG_SPANISH:
            return 8;
        case LANG_GERMAN:
            return 9;
        case LANG_ARABIC:
            return 10;
        case LANG_CHINESE:
            return 11;
        default:
            return 1;
    }
}

int GetLanguageIndex() {
    return LanguageColumn(GetUserDefaultUILanguage());
}

const wchar_t* GetString(int index) {
    const ResourceBytes table = FindTextTable();
    TextTableHeader header{};
    if (table.data == nullptr || table.size < sizeof header) {
        return L"";
    }
    std::memcpy(&header, table.data, sizeof header);
    const std::uint32_t row = static_cast<std::uint32_t>(index);
    const std::uint32_t column = static_cast<std::uint32_t>(GetLanguageIndex());
    const std::uint64_t cell = std::uint64_t{column} * header.rows + row;
    const std::uint64_t position = sizeof header + cell * 4;
    if (header.magic != textTableMagic || row >= header.rows || column >= header.columns ||
        position + 4 > table.size) {
        return L"";
    }
    std::uint32_t offset = 0;
    std::memcpy(&offset, table.data + position, sizeof offset);
    return offset == 0 || offset >= table.size
               ? L""
               : reinterpret_cast<const wchar_t*>(table.data + offset);
}
