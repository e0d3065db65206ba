#include "kit/FileNames.h"

#include <algorithm>
#include <cwctype>

bool IsDeviceName(std::wstring name) {
    name.resize(std::min(name.size(), name.find(L'.')));
    while (!name.empty() && name.back() == L' ') {
        name.pop_back();
    }
    std::transform(name.begin(), name.end(), name.begin(), std::towupper);
    for (const wchar_t* device : {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"}) {
        if (name == device) {
            return true;
        }
    }
    const std::wstring stem = name.substr(0, 3);
    return name.size() == 4 && (stem == L"COM" || stem == L"LPT") &&
           std::wstring_view(L"0123456789\u00B9\u00B2\u00B3").find(name[3]) !=
               std::wstring_view::npos;
}

Failure JudgeFileName(std::wstring_view name) {
    const auto isControl = [](wchar_t character) { return character < 32; };
    if (name.empty()) {
        return "expected a name that is not empty";
    }
    if (name.find_first_of(L"<>:\"/\\|?*") != std::wstring_view::npos ||
        std::any_of(name.begin(), name.end(), isControl)) {
        return "expected a name with none of < > : \" / \\ | ? * and no control characters";
    }
    if (name.back() == L' ' || name.back() == L'.') {
        return "expected a name with no blank and no full stop at its end";
    }
    if (IsDeviceName(std::wstring(name))) {
        return "expected another name: the system keeps this one for a device";
    }
    return {};
}
