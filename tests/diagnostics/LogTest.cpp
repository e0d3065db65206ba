#include "diagnostics/Log.h"

#include <gtest/gtest.h>

#include "support/Replace.h"

TEST(Log, ALineHoldsStampLevelAndSource) {
    SYSTEMTIME now{2026, 3, 0, 9, 14, 5, 7, 42};
    const Replaced clock = Replace("kernel32.dll", "GetLocalTime", GetLocalTime,
                                   [&](auto, SYSTEMTIME* time) { *time = now; });
    Logger probe(L"Probe");
    const std::size_t start = GetLogText().size();
    probe.Info(L"first\nsecond");
    now = {987, 12, 0, 31, 1, 0, 59, 999};
    probe.Warn(L"");
    probe.Error(L"%s\r\n");
    EXPECT_EQ(GetLogText().substr(start),
              L"2026-03-09 14:05:07.042 [INFO]  [Probe] first\nsecond\n"
              L"987-12-31 01:00:59.999 [WARN]  [Probe] \n"
              L"987-12-31 01:00:59.999 [ERROR]  [Probe] %s\r\n\n");
}

TEST(ErrorText, IsTheSystemsOwnWithItsLineBreak) {
    wchar_t words[1024] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, 193, 0,
                   words, 1024, nullptr);
    EXPECT_EQ(ErrorText(193), std::wstring(L"[193] ") + words);
    EXPECT_TRUE(ErrorText(193).ends_with(L"\r\n"));
    EXPECT_EQ(ErrorText(0xDFFFFFF1), L"[3758096369] <FormatMessage empty result>");
    SetLastError(ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(LastErrorText(), ErrorText(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST(HResultText, TranslatesOnlySystemErrors) {
    const std::pair<DWORD, std::wstring> cases[] = {
        {0x80070005, ErrorText(5)},
        {0x8007FFFF, ErrorText(0xFFFF)},
        {0, ErrorText(0)},
        {1, L"[0x1] ..."},
        {0x00070005, L"[0x70005] ..."},
        {0x80080005, L"[0x80080005] ..."},
    };
    for (const auto& [bits, text] : cases) {
        EXPECT_EQ(HResultText(static_cast<HRESULT>(bits)), text);
    }
}
