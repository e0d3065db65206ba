#include "kit/ProductTexts.h"

#include <algorithm>
#include <cstring>

#include <nlohmann/json.hpp>

#include "kit/Characters.h"
#include "kit/Failure.h"
#include "kit/Files.h"
#include "kit/JsonText.h"

namespace {

using nlohmann::json;

constexpr const char* fileName = "texts.json";
constexpr const wchar_t* placeholder = L"{supportAddress}";
// Far more than any box can show.
constexpr std::size_t longestText = 2000;

bool OffersHelp(unsigned row) {
    return row == TextInstallFailed || row == TextUninstallFailed;
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

Failure JudgeText(const std::wstring& text) {
    const auto shows = [](wchar_t character) {
        return !IsBlank(character) && !IsUnseen(character);
    };
    if (text.find(L'\0') != std::wstring::npos) {
        return "holds a NUL character; expected plain text";
    }
    if (text.size() > longestText) {
        return "expected a text of at most 2000 characters";
    }
    return std::any_of(text.begin(), text.end(), shows)
               ? Failure()
               : "expected a text that is not empty and not of blanks alone";
}

/// Returns an empty text when there is none that fits.
std::wstring ReadCell(const json& row, const char* language, const std::string& key,
                      Findings& findings) {
    const auto cell = row.find(language);
    if (cell == row.end()) {
        AddError(findings, fileName, key, "is missing; expected the text in this language");
        return {};
    }
    if (!cell->is_string()) {
        AddError(findings, fileName, key, DescribeValue(*cell) + "; expected a text");
        return {};
    }
    const std::wstring text = Widen(cell->get_ref<const std::string&>());
    if (const Failure expected = JudgeText(text)) {
        AddError(findings, fileName, key, *expected);
        return {};
    }
    return text;
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
    const std::size_t before = findings.size();
    const json rows = ParseObject(text, fileName, "rows", findings);
    if (rows.empty() && findings.size() > before) {
        return cells;
    }
    WarnOfUnknownKeys(rows, findings);
    for (unsigned row = 0; row < textRows; ++row) {
        const char* name = textRowNames[row];
        if (name == nullptr) {
            continue;
        }
        const auto found = rows.find(name);
        if (found == rows.end() || !found->is_object()) {
            AddError(findings, fileName, name,
                     (found == rows.end() ? "is missing" : DescribeValue(*found)) +
                         "; expected an object of texts by language");
            continue;
        }
        for (unsigned column = 0; column < textColumns; ++column) {
            const std::string key = std::string(name) + "." + textLanguages[column];
            const std::wstring cell = ReadCell(*found, textLanguages[column], key, findings);
            if (cell.empty()) {
                continue;
            }
            if (row == TextProductName && cell != displayName && !displayName.empty()) {
                AddWarning(findings, fileName, key,
                           "is \"" + Narrow(cell) + "\"; expected the display name \"" +
                               Narrow(displayName) + "\"");
            }
            cells[column][row] = FillIn(cell, row, supportAddress, key, findings);
        }
    }
    return cells;
}
