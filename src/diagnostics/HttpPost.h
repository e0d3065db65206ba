#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// Where a request goes. The flags are those of HttpOpenRequestW.
struct PostTarget {
    std::wstring host;
    std::uint16_t port;
    std::wstring path;
    DWORD flags;
};

/// Posts a JSON text, in UTF-8. Nothing is sent when there is nothing to convert. Blocks with the
/// system's time-outs; no retry, and the outcome is not looked at.
void PostJson(const PostTarget& target, const std::wstring& body);
