#include "startup/OwnPath.h"

#include <windows.h>
#include <stdlib.h>

std::wstring OwnPath() {
    // The longest path that the system handles.
    constexpr DWORD longest = 32767;
    std::wstring path(longest, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), longest);
    if (length > 0 && length < longest) {
        path.resize(length);
        return path;
    }
    return __argc > 0 && __wargv[0] != nullptr ? std::wstring(__wargv[0]) : std::wstring();
}
