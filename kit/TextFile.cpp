#include "kit/TextFile.h"

#include <algorithm>
#include <cstring>

#include <nlohmann/json.hpp>

#include "kit/Files.h"

namespace {

using nlohmann::json;

constexpr const char* fileName = "texts.json";
constexpr const wchar_t* placeholder = L"{supportAddress}";

bool OffersHelp(unsigned row) {
    return row == textInstallFailed || row == textUninstallFailed;
}

/// Puts the address into the text, which is judged before: an address may hold braces.
std::wstring FillIn(std::wstring text, unsigned row, const std::wstring& supportAddress,
                    const std::string& key, Findings& findings) {
    const std::size_t place = text.find(placeholder);
    if (OffersHelp(row) && place == std::wstring::npos) {
        AddError(findings, fileName, key,
                 "does not say where to turn; expected {supportAddress} in it");
        return text;
    }
    std::wstring rest = text;
    if (OffersHelp(row)) {
        rest.erase(place, std::wcslen(placeholder));
    }
    if (rest.find_first_of(L"{}") != std::wstring::npos) {
        AddError(findings, fileName, key,
                 OffersHelp(row) ? "expected {supportAddress} once and no other braces"
                                 : "holds a brace; expected no placeholder in this row");
        return text;
    }
    if (OffersHelp(row)) {
        text.replace(place, std::wcslen(placeholder), supportAddress);
    }
    return text;
}

std::wstring ReadCell(const json& row, const char* language, const std::string& key,
                      Findings& findings) {
    const auto cell = row.find(language);
    if (cell == row.end()) {
        AddError(findings, fileName, key, "is missing; expected the text in this language");
        return {};
    }
    if (!cell->is_string() || cell->get_ref<const std::string&>().empty()) {
        AddError(findings, fileName, key, "expected a text that is not empty");
        return {};
    }
    const std::string& text = cell->get_ref<const std::string&>();
    if (text.find('\0') != std::string::npos) {
        AddError(findings, fileName, key, "holds a NUL character; expected plain text");
        return {};
    }
    return Widen(text);
}

void WarnOfUnknownKeys(const json& rows, Findings& findings) {
    for (const auto& row : rows.items()) {
        const auto isName = [&row](const char* name) {
            return name != nullptr && row.key() == name;
        };
        if (std::none_of(textRowNames.begin(), textRowNames.end(), isName)) {
            AddWarning(findings, fileName, row.key(), "is no row of the table; it is not used");
            continue;
        }
        if (!row.value().is_object()) {
            continue;
        }
        for (const auto& cell : row.value().items()) {
            const auto isLanguage = [&cell](const char* code) { return cell.key() == code; };
            if (cell.key() != "shown" &&
                std::none_of(textLanguages.begin(), textLanguages.end(), isLanguage)) {
                AddWarning(findings, fileName, row.key() + "." + cell.key(),
                           "is no language of the table; it is not used");
            }
        }
    }
}

}  // namespace

TextCells ReadTexts(std::string_view text, const std::wstring& displayName,
                    const std::wstring& supportAddress, Findings& findings) {
    TextCells cells;
    json rows;
    try {
        rows = json::parse(text);
    } catch (const json::exception& error) {
        AddError(findings, fileName, "", std::string("is no JSON: ") + error.what());
        return cells;
    }
    if (!rows.is_object()) {
        AddError(findings, fileName, "", "expected an object of rows");
        return cells;
    }
    WarnOfUnknownKeys(rows, findings);
    for (unsigned row = 0; row < textRows; ++row) {
        const char* name = textRowNames[row];
        if (name == nullptr) {
            continue;
        }
        if (!rows.contains(name) || !rows[name].is_object()) {
            AddError(findings, fileName, name,
                     "is missing; expected an object of texts by language");
            continue;
        }
        for (unsigned column = 0; column < textColumns; ++column) {
            const std::string key = std::string(name) + "." + textLanguages[column];
            const std::wstring cell = ReadCell(rows[name], textLanguages[column], key, findings);
            if (cell.empty()) {
                continue;
            }
            if (row == textProductName && cell != displayName) {
                AddWarning(findings, fileName, key,
                           "is \"" + Narrow(cell) + "\"; expected the display name \"" +
                               Narrow(displayName) + "\"");
            }
            cells[column][row] = FillIn(cell, row, supportAddress, key, findings);
        }
    }
    return cells;
}
