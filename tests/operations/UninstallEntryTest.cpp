#include "operations/UninstallEntry.h"

#include <windows.h>

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

using Values = std::map<std::wstring, std::wstring>;

constexpr wchar_t guid[] = L"{5E0A}";
constexpr wchar_t keyPath[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{5E0A}";

void SetRaw(const std::wstring& name, const std::wstring& text, bool isTerminated) {
    const DWORD size = static_cast<DWORD>((text.size() + isTerminated) * sizeof(wchar_t));
    // The system stores a terminator that happens to stand behind the data.
    const std::wstring data = isTerminated ? text : text + L"?";
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, keyPath, name.c_str(), REG_SZ, data.c_str(), size),
              ERROR_SUCCESS);
}

Values ReadValues() {
    Values values;
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, keyPath, 0, KEY_READ, &key), ERROR_SUCCESS);
    wchar_t name[100];
    DWORD length = 100;
    for (DWORD index = 0;
         RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == 0;
         ++index, length = 100) {
        wchar_t text[100] = L"";
        DWORD size = sizeof text;
        EXPECT_EQ(RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, text, &size), 0);
        values[name] = text;
    }
    RegCloseKey(key);
    return values;
}

}  // namespace

TEST(WriteUninstallEntry, WritesFiveValues) {
    const RedirectedRegistry registry;
    std::size_t sizes = 0;
    {
        const Replaced note = Replace("advapi32.dll", "RegSetValueExW", RegSetValueExW,
                                      [&](auto real, HKEY key, LPCWSTR name, DWORD, DWORD type,
                                          const BYTE* data, DWORD size) {
                                          sizes += size;
                                          return real(key, name, 0, type, data, size);
                                      });
        EXPECT_EQ(WriteUninstallEntry(guid, L"1.2.3", L"C:\\a b\\u.exe", L"Name"), 0);
    }
    Values expected = {{L"DisplayName", L"Name"},
                       {L"DisplayVersion", L"1.2.3"},
                       {L"DisplayIcon", L"C:\\a b\\u.exe"},
                       {L"UninstallString", L"C:\\a b\\u.exe"},
                       {L"Publisher", L"Brontavia"}};
    EXPECT_EQ(ReadValues(), expected);
    EXPECT_EQ(sizes, 2 * (4 + 5 + 12 + 12 + 9u)) << "without terminators";

    SetRaw(L"Foreign", L"kept", true);
    EXPECT_EQ(WriteUninstallEntry(guid, L"1.3.0", L"C:\\a b\\u.exe", L"Name"), 0);
    expected[L"DisplayVersion"] = L"1.3.0";
    expected[L"Foreign"] = L"kept";
    EXPECT_EQ(ReadValues(), expected);
}

TEST(WriteUninstallEntry, StopsAtTheFirstFailure) {
    const RedirectedRegistry registry;
    const Replaced fail = Replace("advapi32.dll", "RegSetValueExW", RegSetValueExW,
                                  [](auto real, HKEY key, LPCWSTR name, auto... rest) -> LSTATUS {
                                      return name == std::wstring(L"DisplayIcon")
                                                 ? ERROR_ACCESS_DENIED
                                                 : real(key, name, rest...);
                                  });
    EXPECT_EQ(WriteUninstallEntry(guid, L"1.2.3", L"C:\\u.exe", L"Name"), 1);
    EXPECT_EQ(ReadValues(), (Values{{L"DisplayName", L"Name"}, {L"DisplayVersion", L"1.2.3"}}));
    EXPECT_LT(WriteUninstallEntry(std::wstring(250, L'x').c_str(), L"1", L"u", L"n"), 0);
    EXPECT_EQ(WriteRegistryString(keyPath, L"DisplayIcon", L"x"),
              HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    EXPECT_EQ(WriteRegistryString(keyPath, L"DisplayIcon", nullptr), 0);
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
