#include "services/UninstallEntry.h"

#include <strsafe.h>

namespace {

constexpr wchar_t uninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr wchar_t publisher[] = L"Brontavia";

}  // namespace

long FormatUninstallKey(const wchar_t* guid, wchar_t (&path)[MAX_PATH]) {
    return StringCchPrintfW(path, MAX_PATH, L"%s\\%s", uninstallKey, guid);
}

long WriteRegistryString(const wchar_t* subKey, const wchar_t* valueName, const wchar_t* text) {
    HKEY key = nullptr;
    LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, subKey, 0, nullptr, 0, KEY_WRITE, nullptr,
                                     &key, nullptr);
    if (status != ERROR_SUCCESS) {
        return HRESULT_FROM_WIN32(status);
    }
    if (text != nullptr) {
        // Stored without the terminator.
        const DWORD size = static_cast<DWORD>(lstrlenW(text) * sizeof(wchar_t));
        status =
            RegSetValueExW(key, valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), size);
    }
    RegCloseKey(key);
    return HRESULT_FROM_WIN32(status);
}

long WriteUninstallEntry(const wchar_t* guid, const wchar_t* version, const wchar_t* uninstallPath,
                         const wchar_t* name) {
    wchar_t path[MAX_PATH];
    if (const long result = FormatUninstallKey(guid, path); result < 0) {
        SetLastError(HRESULT_CODE(result));
        return result;
    }
    const struct {
        const wchar_t* name;
        const wchar_t* data;
    } values[] = {
        {L"DisplayName", name},          {L"DisplayVersion", version},
        {L"DisplayIcon", uninstallPath}, {L"UninstallString", uninstallPath},
        {L"Publisher", publisher},
    };
    for (const auto& value : values) {
        if (const long result = WriteRegistryString(path, value.name, value.data); result < 0) {
            // The registry's functions tell their status by the result only.
            SetLastError(HRESULT_CODE(result));
            return 1;
        }
    }
    return 0;
}

long ReadInstalledVersion(const wchar_t* guid, wchar_t (&buffer)[installedVersionLength]) {
    wchar_t path[MAX_PATH];
    if (const long result = FormatUninstallKey(guid, path); result < 0) {
        return result;
    }
    HKEY key = nullptr;
    LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS) {
        return HRESULT_FROM_WIN32(status);
    }
    DWORD size = sizeof buffer;
    status = RegQueryValueExW(key, L"DisplayVersion", nullptr, nullptr,
                              reinterpret_cast<BYTE*>(buffer), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) {
        return HRESULT_FROM_WIN32(status);
    }
    DWORD length = size / sizeof(wchar_t);
    // Other writers store the terminator.
    if (length > 0 && buffer[length - 1] == L'\0') {
        --length;
    }
    if (length >= installedVersionLength) {
        return HRESULT_FROM_WIN32(ERROR_MORE_DATA);
    }
    buffer[length] = L'\0';
    return 0;
}
