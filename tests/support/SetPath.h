#pragma once

#include <string>

/// Fills one of the product's path buffers.
template <std::size_t length>
void SetPath(wchar_t (&buffer)[length], const std::wstring& path) {
    buffer[path.copy(buffer, length - 1)] = L'\0';
}
