#pragma once

#include <string>
#include <string_view>

/// Undoes percent encoding into `text`. False when a percent sign is not followed by two
/// hexadecimal digits of either case.
bool DecodePercent(std::string_view encoded, std::string& text);

/// True for well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF
/// (The Unicode Standard, table 3-7).
bool IsUtf8(std::string_view text);

/// Takes the readable text out of a report's body, { "message": "<percent-encoded UTF-8>" }.
/// Returns an empty text, or what is wrong with the body. Nesting however deep costs no memory.
std::string DecodeReportBody(std::string_view body, std::string& text);
