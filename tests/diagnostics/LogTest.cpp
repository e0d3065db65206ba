#include "diagnostics/Log.h"

#include <gtest/gtest.h>

#include "support/ImportPatch.h"

namespace {

SYSTEMTIME now{};

void WINAPI TellNow(SYSTEMTIME* time) {
    *time = now;
}

}  // namespace

TEST(Log, ALineHoldsStampLevelAndSource) {
    const ImportPatch patch("kernel32.dll", "GetLocalTime", AsProc(&TellNow));
    Logger probe(L"Probe");
    const std::size_t start = GetLogText().size();
    now = {2026, 3, 0, 9, 14, 5, 7, 42};
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
    for (const DWORD code : {0ul, 2ul, 5ul, 193ul}) {
        wchar_t words[1024] = L"";
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       words, 1024, nullptr);
        EXPECT_EQ(ErrorText(code), L"[" + std::to_wstring(code) + L"] " + words);
    }
    EXPECT_EQ(ErrorText(5).substr(ErrorText(5).size() - 2), L"\r\n");
    EXPECT_EQ(ErrorText(0xDFFFFFF1), L"[3758096369] <FormatMessage empty result>");
    SetLastError(ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(LastErrorText(), ErrorText(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST(HResultText, TranslatesOnlySystemErrors) {
    const struct {
        DWORD bits;
        std::wstring text;
    } cases[] = {
        {0x80070005, ErrorText(5)},
        {0x8007FFFF, ErrorText(0xFFFF)},
        {0, ErrorText(0)},
        {1, L"[0x1] ..."},
        {0x800C0008, L"[0x800c0008] ..."},
        {0x00070005, L"[0x70005] ..."},
        {0x80080005, L"[0x80080005] ..."},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(HResultText(static_cast<HRESULT>(row.bits)), row.text);
    }
}
