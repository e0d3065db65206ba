#pragma once

#include <string>

/// Empty when the text is empty or cannot be converted.
std::string ToUtf8(const std::wstring& text);
