#pragma once

#include <array>
#include <cstdint>
#include <string>

/// The product's texts as data inside the executable: resource "TEXTS" 1, read in place.
///
/// Layout, little-endian: u32 magic, u32 columns, u32 rows, then columns * rows u32 byte offsets
/// from the start of the resource, those of one column behind each other (entry column * rows +
/// row; 0 = no text), then the texts: UTF-16, NUL-terminated, on even offsets.
constexpr std::uint32_t textTableMagic = 0x31545854;  // "TXT1"
constexpr unsigned textColumns = 12;
constexpr unsigned textRows = 20;

/// The languages by column, as texts.json names them.
extern const std::array<const char*, textColumns> textLanguages;
/// The rows as texts.json names them; null where a number is not in use.
extern const std::array<const char*, textRows> textRowNames;

constexpr unsigned textProductName = 1;
constexpr unsigned textInstallFailed = 8;
constexpr unsigned textUninstallFailed = 12;

/// One text per language and row; an empty one stands for none.
using TextCells = std::array<std::array<std::wstring, textRows>, textColumns>;

std::string EncodeTextTable(const TextCells& cells);
