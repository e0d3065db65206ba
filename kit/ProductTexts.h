#pragma once

#include <string>
#include <string_view>

#include "kit/Findings.h"
#include "kit/TextTable.h"

/// Reads texts.json: an object of rows by name, each an object of texts by language and an optional
/// "shown", a note for translators. "{supportAddress}" stands for `supportAddress`, once in the two
/// rows that offer help and nowhere else. Every row in use must have all languages. `displayName`
/// is what the product's own row should read; not looked at when it is empty.
TextCells ReadTexts(std::string_view json, const std::wstring& displayName,
                    const std::wstring& supportAddress, Findings& findings);
