#pragma once

#include <windows.h>

/// Rows of the product's text table. The numbers are those of the table; 9, 10, 13 and 19 are not
/// in use.
enum TextRow {
    TextTitle = 0,
    TextProductName = 1,
    TextRemoved = 2,
    TextConfirmCancel = 3,
    TextConfirmUninstall = 4,
    TextPreparing = 5,
    TextDownloading = 6,
    TextInstalling = 7,
    TextInstallFailed = 8,
    TextUninstalling = 11,
    TextUninstallFailed = 12,
    TextUpdating = 14,
    TextAccessBlocked = 15,
    TextRetry = 16,
    TextOfferFullInstaller = 17,
    TextUpToDateContinue = 18,
};

/// Column of the table for the user's interface language, asked anew each time; English for a
/// language that the table lacks.
int GetLanguageIndex();

/// The same for a given language; all regional variants of a language share its column.
int LanguageColumn(LANGID language);

/// Text of a row in the user's language. It lies in the executable's resource and lives as long as
/// the program; not to be freed. Empty when the executable holds no such text.
const wchar_t* GetString(int index);
