#include "operations/UninstallEntry.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

constexpr wchar_t guid[] = L"{5E0A}";
constexpr wchar_t keyPath[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{5E0A}";

void SetRaw(const wchar_t* name, const std::wstring& text, bool isTerminated) {
    const DWORD size = static_cast<DWORD>((text.size() + isTerminated) * sizeof(wchar_t));
    // The system stores a terminator that happens to stand behind the data.
    const std::wstring data = isTerminated ? text : text + L"?";
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, keyPath, name, REG_SZ, data.c_str(), size),
              ERROR_SUCCESS);
}

}  // namespace

TEST(WriteUninstallEntry, StoresNoTerminatorsAndKeepsForeignValues) {
    const RedirectedRegistry registry;
    SetRaw(L"Foreign", L"kept", true);
    std::wstring written;
    const Replaced note = Replace(
        "advapi32.dll", "RegSetValueExW", RegSetValueExW,
        [&](auto real, HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
            written += name + (L":" + std::to_wstring(size) + L" ");
            return real(key, name, 0, type, data, size);
        });
    EXPECT_EQ(WriteUninstallEntry(guid, L"1.2.3", L"C:\\a b\\u.exe", L"Name"), 0);
    EXPECT_EQ(written,
              L"DisplayName:8 DisplayVersion:10 DisplayIcon:24 UninstallString:24 Publisher:18 ");
    EXPECT_EQ(WriteRegistryString(keyPath, L"Foreign", nullptr), 0);
    wchar_t text[100] = L"";
    DWORD size = sizeof text;
    RegGetValueW(HKEY_CURRENT_USER, keyPath, L"Foreign", RRF_RT_REG_SZ, nullptr, text, &size);
    EXPECT_STREQ(text, L"kept");
    EXPECT_LT(WriteUninstallEntry(std::wstring(250, L'x').c_str(), L"1", L"u", L"n"), 0);
}

TEST(ReadInstalledVersion, TakesWhatFits) {
    const RedirectedRegistry registry;
    wchar_t buffer[installedVersionLength];
    EXPECT_EQ(ReadInstalledVersion(guid, buffer), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    SetRaw(L"DisplayName", L"Name", true);
    EXPECT_EQ(ReadInstalledVersion(guid, buffer), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_LT(ReadInstalledVersion(std::wstring(250, L'x').c_str(), buffer), 0);
    for (const std::size_t length : {0, 5, 62, 63, 64, 65}) {
        for (const bool isTerminated : {false, true}) {
            const std::wstring text(length, L'7');
            SetRaw(L"DisplayVersion", text, isTerminated);
            std::fill_n(buffer, installedVersionLength, L'?');
            const bool fits = length < 64;
            EXPECT_EQ(ReadInstalledVersion(guid, buffer),
                      fits ? 0 : HRESULT_FROM_WIN32(ERROR_MORE_DATA))
                << length;
            EXPECT_EQ(fits ? buffer : text, text);
        }
    }
}
