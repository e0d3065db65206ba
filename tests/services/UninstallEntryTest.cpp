#include "services/UninstallEntry.h"

#include "support/Replace.h"

// What the entry holds is seen in the scenarios.
TEST(UninstallEntry, IsStoredWithoutTerminatorsAndReadEitherWay) {
    const std::wstring guid = L"{" + std::to_wstring(GetCurrentProcessId()) + L"}";
    const std::wstring key = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + guid;
    std::wstring sizes;
    const Replaced note = Replace(RegSetValueExW, [&](auto real, auto key, auto name, auto,
                                                      auto type, auto* data, DWORD size) {
        sizes += std::to_wstring(size) + L" ";
        return real(key, name, 0, type, data, size);
    });
    wchar_t buffer[installedVersionLength];
    EXPECT_EQ(WriteUninstallEntry(guid.c_str(), L"1.2.3", L"C:\\a b\\u.exe", L"Name"), 0);
    EXPECT_EQ(sizes, L"8 10 24 24 18 ");
    for (const std::size_t length : {0, 63, 64}) {
        for (const bool isTerminated : {false, true}) {
            // The system stores a terminator that happens to stand behind the data.
            const std::wstring text(length, L'7'), data = isTerminated ? text : text + L"?";
            RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"DisplayVersion", REG_SZ, data.c_str(),
                            (length + isTerminated) * 2);
            EXPECT_EQ(ReadInstalledVersion(guid.c_str(), buffer),
                      length < 64 ? 0 : HRESULT_FROM_WIN32(ERROR_MORE_DATA))
                << length;
            EXPECT_TRUE(length > 63 || buffer == text) << length;
        }
    }
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()), ERROR_SUCCESS);
}
