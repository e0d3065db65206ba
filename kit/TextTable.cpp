#include "kit/TextTable.h"

#include <cstring>

const std::array<const char*, textColumns> textLanguages = {
#define LANGUAGE_NAME(column, name, primary) name,
    TEXT_LANGUAGES(LANGUAGE_NAME)
#undef LANGUAGE_NAME
};

const std::array<const char*, textRows> textRowNames = [] {
    std::array<const char*, textRows> names{};
#define ROW_NAME(number, name) names[number] = #name;
    TEXT_ROWS(ROW_NAME)
#undef ROW_NAME
    return names;
}();

std::string EncodeTextTable(const TextCells& cells) {
    std::string data((3 + textColumns * textRows) * sizeof(std::uint32_t), '\0');
    const auto put = [&data](unsigned index, std::uint32_t value) {
        std::memcpy(&data[index * sizeof value], &value, sizeof value);
    };
    put(0, textTableMagic);
    put(1, textColumns);
    put(2, textRows);
    unsigned index = 3;
    for (const auto& column : cells) {
        for (const std::wstring& text : column) {
            if (!text.empty()) {
                put(index, static_cast<std::uint32_t>(data.size()));
                data.append(reinterpret_cast<const char*>(text.c_str()),
                            (text.size() + 1) * sizeof(wchar_t));
            }
            ++index;
        }
    }
    return data;
}
