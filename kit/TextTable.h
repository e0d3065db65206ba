#pragma once

#include <array>
#include <string>

#include "resources/TextTableFormat.h"

/// The languages by column, as texts.json names them.
extern const std::array<const char*, textColumns> textLanguages;
/// The rows as texts.json names them; null where a number is not in use.
extern const std::array<const char*, textRows> textRowNames;

/// One text per language and row; an empty one stands for none.
using TextCells = std::array<std::array<std::wstring, textRows>, textColumns>;

std::string EncodeTextTable(const TextCells& cells);
