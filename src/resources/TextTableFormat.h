#pragma once

#include <cstdint>

/// The product's texts as data inside the executable: one resource (ResourceIds.h), which the kit
/// writes and the program reads in place.
///
/// Layout, little-endian: the header, then columns * rows offsets of 4 bytes from the start of the
/// resource, those of one column behind each other (cell column * rows + row; 0 = no text), then
/// the texts: UTF-16, NUL-terminated, on even offsets.
struct TextTableHeader {
    std::uint32_t magic;
    std::uint32_t columns;
    std::uint32_t rows;
};
constexpr std::uint32_t textTableMagic = 0x31545854;  // "TXT1"

/// The languages: column, name in texts.json, the platform's primary language. All regional
/// variants of a language share its column; englishColumn stands in for languages not listed.
#define TEXT_LANGUAGES(LANGUAGE)       \
    LANGUAGE(0, "ru", LANG_RUSSIAN)    \
    LANGUAGE(1, "en", LANG_ENGLISH)    \
    LANGUAGE(2, "tr", LANG_TURKISH)    \
    LANGUAGE(3, "pt", LANG_PORTUGUESE) \
    LANGUAGE(4, "ko", LANG_KOREAN)     \
    LANGUAGE(5, "ja", LANG_JAPANESE)   \
    LANGUAGE(6, "hi", LANG_HINDI)      \
    LANGUAGE(7, "fr", LANG_FRENCH)     \
    LANGUAGE(8, "es", LANG_SPANISH)    \
    LANGUAGE(9, "de", LANG_GERMAN)     \
    LANGUAGE(10, "ar", LANG_ARABIC)    \
    LANGUAGE(11, "zh", LANG_CHINESE)
constexpr unsigned textColumns = 12;
constexpr int englishColumn = 1;

/// The rows: number, name in texts.json and in the program. A number that is left out is not in
/// use.
#define TEXT_ROWS(ROW)              \
    ROW(0, TextTitle)               \
    ROW(1, TextProductName)         \
    ROW(2, TextRemoved)             \
    ROW(3, TextConfirmCancel)       \
    ROW(4, TextConfirmUninstall)    \
    ROW(5, TextPreparing)           \
    ROW(6, TextDownloading)         \
    ROW(7, TextInstalling)          \
    ROW(8, TextInstallFailed)       \
    ROW(11, TextUninstalling)       \
    ROW(12, TextUninstallFailed)    \
    ROW(14, TextUpdating)           \
    ROW(15, TextAccessBlocked)      \
    ROW(16, TextRetry)              \
    ROW(17, TextOfferFullInstaller) \
    ROW(18, TextUpToDateContinue)
constexpr unsigned textRows = 20;

enum TextRow {
#define TEXT_ROW_CONSTANT(number, name) name = number,
    TEXT_ROWS(TEXT_ROW_CONSTANT)
#undef TEXT_ROW_CONSTANT
};
