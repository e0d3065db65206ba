#include "base/SystemLibrary.h"

#include <string>

FARPROC SystemFunction(const wchar_t* library, const char* name) {
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return nullptr;
    }
    const std::wstring path = std::wstring(folder) + L"\\" + library;
    // The altered search path makes the library's own dependencies come from its folder, also on
    // systems without the calls that restrict the search.
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    return module == nullptr ? nullptr : GetProcAddress(module, name);
}
