#include <windows.h>
#include <commctrl.h>

#include <atomic>
#include <thread>

#include "base/GlobalVars.h"
#include "operations/Progress.h"
#include "support/Replace.h"
#include "support/Scratch.h"
#include "ui/DialogAnswering.h"
#include "ui/DialogAsking.h"
#include "ui/MainWindow.h"
#include "ui/ProgressControls.h"

namespace {

// Hands the window of an install to `look` instead of its messages.
template <typename Look>
void ShowWindowTo(const Look& look) {
    globalVars.hInstance = GetModuleHandleW(nullptr);
    globalVars.windowClassName = L"WindowTest";
    const Replaced worker = Replace(
        CreateThread, [](auto, auto...) { return CreateEventW(nullptr, TRUE, FALSE, nullptr); });
    const Replaced loop = Replace(GetMessageW, [&](auto, auto...) {
        look(mainWindowHandle);
        DestroyWindow(mainWindowHandle);
        return FALSE;
    });
    EXPECT_EQ(CreateMainWindow(SW_SHOWNORMAL, OperationInstall), 0);
    UnregisterClassW(L"WindowTest", globalVars.hInstance);
}

// Place in its parent and size.
std::wstring Describe(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, GetAncestor(window, GA_PARENT), reinterpret_cast<POINT*>(&place), 2);
    wchar_t text[100];
    wsprintfW(text, L"%d,%d %dx%d;", place.left, place.top, place.right - place.left,
              place.bottom - place.top);
    return text;
}

}  // namespace

// What it shows and asks, and when it refuses to close, is seen in the scenarios. One test, since a
// process has one window that ticks.
TEST(MainWindow, IsABorderlessPictureWithThreeControlsAndActsOnceOnTheEnd) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    int boxes = 0;
    const Replaced box = Replace(MessageBoxW, [&](auto, auto, auto, auto, UINT flags) {
        if (flags & MB_YESNO) {
            return IDYES;
        }
        EXPECT_EQ(flags, UINT{MB_ICONERROR});
        ++boxes;
        // A tick that was already on its way, and the user's impatience.
        SendMessageW(mainWindowHandle, WM_TIMER, 1, 0);
        SendMessageW(mainWindowHandle, WM_CLOSE, 0, 0);
        return IDOK;
    });
    ShowWindowTo([&](HWND window) {
        EXPECT_EQ(GetClassLongW(window, GCL_STYLE) & CS_DROPSHADOW, 0u);
        const HWND bar = GetWindow(window, GW_CHILD), title = GetWindow(bar, GW_HWNDNEXT);
        progressObject.position = 50;
        SendMessageW(window, WM_TIMER, 1, 0);
        const int x = GetSystemMetrics(SM_CXSCREEN) / 2, y = GetSystemMetrics(SM_CYSCREEN) / 2;
        EXPECT_EQ(Describe(window) + Describe(bar) + Describe(title) +
                      Describe(GetWindow(title, GW_HWNDNEXT)),
                  std::to_wstring(x - 250) + L"," + std::to_wstring(y - 127) +
                      L" 500x254;90,176 159x15;0,127 500x30;0,200 500x15;");
        EXPECT_EQ(SendMessageW(window, WM_NCHITTEST, 0, MAKELPARAM(x, y)), HTCAPTION);
        MINMAXINFO sizes{};
        SendMessageW(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&sizes));
        EXPECT_TRUE(sizes.ptMinTrackSize.x == 500 && sizes.ptMaxTrackSize.y == 254);
        SendMessageW(window, WM_USER, 0, 0);
        std::string calls;
        {
            const Replaced thread =
                Replace(TerminateThread, [&](auto, auto...) { return calls += "thread ", TRUE; });
            const Replaced destroy =
                Replace(DestroyWindow, [&](auto, auto...) { return calls += "window ", TRUE; });
            const Replaced process =
                Replace(TerminateProcess, [&](auto, auto...) { return calls += "process", TRUE; });
            SendMessageW(window, WM_CLOSE, 0, 0);
        }
        EXPECT_EQ(calls, "thread process") << "the ended thread may hold any lock";
        progressObject.workerThread = nullptr;
        progressObject.errorCode = ErrorManifest;
        SendMessageW(window, WM_TIMER, 1, 0);
        EXPECT_FALSE(IsWindow(window));
    });
    EXPECT_EQ(boxes, 1);
}

TEST(MainWindow, HasAShadowWhereTheSystemDrawsNoFrame) {
    const Replaced noFrame = Failing(GetProcAddress, nullptr);
    ShowWindowTo(
        [](HWND window) { EXPECT_NE(GetClassLongW(window, GCL_STYLE) & CS_DROPSHADOW, 0u); });
}

TEST(Dialogs, OfferAnElevatedCopyWithAShield) {
    LPARAM shield = 0;
    const Replaced isPlainUser = Failing(CheckTokenMembership, FALSE);
    const Replaced send =
        Replace(SendMessageW, [&](auto, auto, UINT message, WPARAM button, LPARAM isShown) {
            EXPECT_TRUE(message == TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE && button == 1);
            return shield += isShown;
        });
    const Replaced dialog =
        Replace(TaskDialogIndirect, [](auto, const TASKDIALOGCONFIG* config, auto...) {
            config->pfCallback(nullptr, TDN_CREATED, 0, 0, 0);
            return config->pfCallback(nullptr, TDN_DESTROYED, 0, 0, 0) == S_OK ? E_FAIL : S_OK;
        });
    EXPECT_EQ(AnswerDialogRequest(nullptr, {15, 0, 5}), 0) << "taken for an answer";
    EXPECT_EQ(shield, 1);
}

// Another program of the session has a set event of the name, has something else of it, or sets the
// question's own event.
TEST(Dialogs, AreAnsweredByTheirOwnWindowOnly) {
    constexpr wchar_t name[] = L"LM_FS_ERROR_MESSAGE_EVENT";
    HANDLE other = nullptr;
    std::atomic<int> answer;
    const Replaced box = Replace(MessageBoxW, [&](auto, auto...) {
        // It waits anew each time.
        for (int i = other == nullptr ? 0 : 2; i < 2; ++i) {
            other = OpenEventW(EVENT_ALL_ACCESS, FALSE, name);
            SetEvent(other);
            WaitUntil([&] { return answer >= 0 || WaitForSingleObject(other, 0) != 0; });
        }
        return IDOK;
    });
    const Replaced set = Replace(SetEvent, [&](auto real, HANDLE event) {
        real(event);
        for (const DWORD start = GetTickCount(); GetTickCount() - start < 20 && answer < 0;) {
            SwitchToThread();
        }
        EXPECT_EQ(answer, -1) << "the window's thread still has the event";
        return TRUE;
    });
    for (int round = 0; round < 3; ++round) {
        other = round == 0   ? CreateEventW(nullptr, TRUE, TRUE, name)
                : round == 1 ? CreateMutexW(nullptr, FALSE, name)
                             : nullptr;
        answer = -1;
        dialogResult = 0;
        ShowWindowTo([&](HWND window) {
            std::thread asker([&] { answer = ShowDialog(18, MB_OKCANCEL, window); });
            WaitUntil([&, message = MSG()]() mutable {
                return PeekMessageW(&message, window, WM_USER, WM_USER, PM_REMOVE)
                           ? DispatchMessageW(&message) != 0
                           : answer >= 0;
            });
            asker.join();
        });
        EXPECT_EQ(answer, IDOK) << round;
        EXPECT_TRUE(round == 2 || WaitForSingleObject(other, 0) == WAIT_OBJECT_0) << "taken away";
        CloseHandle(other);
    }
}

TEST(Dialogs, OfAWindowThatIsGoneAreRefused) {
    EXPECT_EQ(ShowDialog(15, 5, reinterpret_cast<HWND>(0x7ffffff0)), IDCANCEL);
}
