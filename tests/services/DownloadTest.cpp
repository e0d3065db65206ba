#include "services/Download.h"

#include <urlmon.h>

#include "support/Replace.h"

namespace {

std::wstring calls;

BOOL WINAPI Drop(LPCWSTR url) {
    calls += std::wstring(L"drop ") + url;
    return FALSE;
}

HRESULT WINAPI Transfer(LPUNKNOWN, LPCWSTR url, LPCWSTR, DWORD, LPBINDSTATUSCALLBACK) {
    calls += std::wstring(L" ask ") + url + L"\n";
    return E_FAIL;
}

}  // namespace

// How often, and what follows, is seen in the scenarios.
TEST(DownloadFile, AsksForAFreshCopyByBothSchemes) {
    const Replaced pause = Replace(Sleep, [](auto, DWORD) {});
    const Replaced system = Replace(GetProcAddress, [](auto real, auto module, LPCSTR name) {
        return name == std::string("DeleteUrlCacheEntryW") ? AsProc(&Drop)
               : name == std::string("URLDownloadToFileW") ? AsProc(&Transfer)
                                                           : real(module, name);
    });
    EXPECT_FALSE(downloadFile(L"ftp://a b?c//x", L"new\\file", nullptr));
    EXPECT_TRUE(
        calls.starts_with(L"drop https://a b?c//x ask https://a b?c//x\n"
                          L"drop http://a b?c//x ask http://a b?c//x\n"))
        << calls;
    EXPECT_TRUE(RemoveDirectoryW(L"new"));
}
