#include "ui/Texts.h"

#include <cstdint>
#include <cstring>

#include "base/ResourceData.h"
#include "resources/ResourceIds.h"

int LanguageColumn(LANGID language) {
    switch (PRIMARYLANGID(language)) {
#define LANGUAGE_COLUMN(column, name, primary) \
    case primary:                              \
        return column;
        TEXT_LANGUAGES(LANGUAGE_COLUMN)
#undef LANGUAGE_COLUMN
        default:
            return englishColumn;
    }
}

int GetLanguageIndex() {
    return LanguageColumn(GetUserDefaultUILanguage());
}

const wchar_t* GetString(int index) {
    const ResourceData table = FindResourceData(textsType, IDR_TEXTS);
    TextTableHeader header{};
    if (table.data == nullptr || table.size < sizeof header) {
        return L"";
    }
    const auto* bytes = static_cast<const std::uint8_t*>(table.data);
    std::memcpy(&header, bytes, sizeof header);
    const std::uint32_t row = static_cast<std::uint32_t>(index);
    const std::uint32_t column = static_cast<std::uint32_t>(GetLanguageIndex());
    const std::uint64_t cell = std::uint64_t{column} * header.rows + row;
    const std::uint64_t position = sizeof header + cell * 4;
    if (header.magic != textTableMagic || row >= header.rows || column >= header.columns ||
        position + 4 > table.size) {
        return L"";
    }
    std::uint32_t offset = 0;
    std::memcpy(&offset, bytes + position, sizeof offset);
    return offset == 0 || offset >= table.size ? L""
                                               : reinterpret_cast<const wchar_t*>(bytes + offset);
}
