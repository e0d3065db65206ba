#pragma once

/// Whether a character leaves no mark on the screen and is no blank either: controls, what joins or
/// parts letters, what sets the direction of writing (the general categories Cc, Cf, Zl and Zp of
/// the Unicode Character Database).
bool IsUnseen(wchar_t character);

/// Whether a character is a blank of any width or ends a line (White_Space there).
bool IsBlank(wchar_t character);
