#include "base/OwnPath.h"

#include <windows.h>
#include <stdlib.h>

namespace {

// The longest path that the system handles.
constexpr DWORD longestPath = 32767;

// Set once at the start, by the main thread.
std::wstring& ownPath = *new std::wstring;

// Empty unless the call gave a length that fits.
void CutToResult(std::wstring& path, DWORD length) {
    path.resize(length < longestPath ? length : 0);
}

}  // namespace

const std::wstring& OwnPath() {
    if (ownPath.empty()) {
        RememberOwnPath();
    }
    return ownPath;
}

void RememberOwnPath() {
    ownPath.assign(longestPath, L'\0');
    CutToResult(ownPath, GetModuleFileNameW(nullptr, ownPath.data(), longestPath));
    if (ownPath.empty() && __argc > 0 && __wargv[0] != nullptr) {
        ownPath.assign(longestPath, L'\0');
        CutToResult(ownPath, GetFullPathNameW(__wargv[0], longestPath, ownPath.data(), nullptr));
    }
}
