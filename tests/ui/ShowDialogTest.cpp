#include "ui/ShowDialog.h"

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"
#include "ui/Boxes.h"
#include "ui/FakeResource.h"

// How a question reaches the window's thread is seen with the real window, in MainWindowTest.

TEST(ShowDialog, AsksOnThisThreadWithoutAForeignOwner) {
    const FakeResource texts(L"TEXTS", &NumberedTexts());
    Boxes boxes(IDYES);
    const HWND own =
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    const FailingCall noEvent("kernel32.dll", "CreateEventW", &CreateEventW, nullptr);
    for (const HWND owner : {HWND(nullptr), own}) {
        boxes.shown.clear();
        EXPECT_EQ(ShowDialog(18, 0x21, owner), IDYES);
        EXPECT_EQ(boxes.shown, L"text 18|text 0|21|");
        EXPECT_EQ(boxes.owner, owner);
    }
    boxes.answer = 0;
    EXPECT_EQ(ShowDialog(15, 5, own), 0);
    DestroyWindow(own);
}

TEST(ShowDialog, RefusesWhatCannotBeAsked) {
    const auto expectRefusal = [](HWND owner, const std::wstring& call, DWORD error) {
        const LogCapture log;
        EXPECT_EQ(ShowDialog(15, 5, owner), IDCANCEL);
        EXPECT_EQ(log.Lines(),
                  L"ERROR Utils ShowDialog: " + call + L" error: " + ErrorText(error) + L"\n");
        EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"LM_FS_ERROR_MESSAGE_EVENT"), nullptr)
            << "left open";
    };
    const HWND foreign = GetDesktopWindow();
    expectRefusal(reinterpret_cast<HWND>(0x7ffffff0), L"SendMessageCallback",
                  ERROR_INVALID_WINDOW_HANDLE);
    {
        const FailingCall noEvent("kernel32.dll", "CreateEventW", &CreateEventW, nullptr);
        expectRefusal(foreign, L"CreateEvent", ERROR_NOT_ENOUGH_MEMORY);
    }
    const FailingCall noPost("user32.dll", "PostMessageW", &PostMessageW, TRUE);
    const FailingCall noWait("kernel32.dll", "WaitForSingleObject", &WaitForSingleObject,
                             WAIT_FAILED);
    expectRefusal(foreign, L"WaitForSingleObject", ERROR_NOT_ENOUGH_MEMORY);
}
