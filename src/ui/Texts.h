#pragma once

#include <windows.h>

#include "resources/TextTableFormat.h"

/// Column of the table for the user's interface language, asked anew each time; English for a
/// language that the table lacks.
int GetLanguageIndex();

/// The same for a given language; all regional variants of a language share its column.
int LanguageColumn(LANGID language);

/// Text of a row in the user's language. It lies in the executable's resource and lives as long as
/// the program; not to be freed. Empty when the executable holds no such text.
const wchar_t* GetString(int index);
