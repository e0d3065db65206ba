#include "base/Log.h"

#include "support/Replace.h"

TEST(Log, ALineHoldsStampLevelAndSource) {
    const Replaced clock =
        Replace(GetLocalTime, [](auto, SYSTEMTIME* time) { *time = {987, 12, 0, 3, 1, 0, 59, 9}; });
    const std::size_t start = GetLogText().size();
    Logger(L"Probe").Info(L"first\nsecond");
    Logger(L"").Error(L"%s\r\n");
    EXPECT_EQ(GetLogText().substr(start),
              L"987-12-03 01:00:59.009 [INFO]  [Probe] first\nsecond\n"
              L"987-12-03 01:00:59.009 [ERROR]  [] %s\r\n\n");
}

TEST(Log, TranslatesOnlySystemErrors) {
    SetLastError(0xDFFFFFF1);
    EXPECT_EQ(LastErrorText(), L"[3758096369] <FormatMessage empty result>");
    EXPECT_EQ(GetLastError(), 0xDFFFFFF1) << "callers hand it on";
    const std::wstring notFound = ErrorText(ERROR_PATH_NOT_FOUND);
    EXPECT_TRUE(notFound.starts_with(L"[3] ") && notFound.ends_with(L"\r\n")) << notFound;
    EXPECT_EQ(HResultText(HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)), notFound);
    EXPECT_EQ(HResultText(S_OK), ErrorText(0));
    EXPECT_EQ(HResultText(0x70003), L"[0x70003] ...");
    EXPECT_EQ(HResultText(STG_E_PATHNOTFOUND), L"[0x80030003] ...");
}
