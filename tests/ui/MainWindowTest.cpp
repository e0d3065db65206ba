#include "ui/MainWindow.h"
#include "ui/ProgressControls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

#include "diagnostics/Log.h"
#include "operations/Progress.h"
#include "startup/GlobalVars.h"
#include "support/BoxDriver.h"
#include "support/FailingCall.h"
#include "support/HttpInbox.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"
#include "support/Waiting.h"
#include "ui/Fakes.h"
#include "ui/ShowDialog.h"

namespace {

constexpr DWORD ownEnd = 5;

DWORD WINAPI WaitForEnd(void* event) {
    WaitForSingleObject(event, INFINITE);
    return ownEnd;
}

// One run of CreateMainWindow on this thread, with the real window and, for an operation, a thread
// that waits to be told to end.
class WindowRun {
  public:
    WindowRun() {
        static int number = 0;
        vars.windowClassName = L"WindowRun" + std::to_wstring(++number);
        vars.hInstance = GetModuleHandleW(nullptr);
        vars.serverHost = L"127.0.0.1";
        vars.serverPort = inbox.port;
        errorReport.vars = &vars;
        mainWindowHandle = nullptr;
        progressObject.workerThread = nullptr;
        progressObject.stage = StageNone;
        progressObject.position = 0;
        progressObject.errorCode = ErrorNone;
    }
    ~WindowRun() {
        SetEvent(mayEnd);
        WaitForSingleObject(operationThread, 10000);
        CloseHandle(operationThread);
        CloseHandle(mayEnd);
        progressObject.workerThread = nullptr;
    }

    // `drive` gets the window on a thread of its own; when it returns the run is ended, if it has
    // not ended before. Gives the result of CreateMainWindow.
    template <typename Drive>
    int Run(int operation, const Drive& drive) {
        std::atomic<bool> isOver = false;
        std::thread driver([&] {
            WaitUntil([&] { return mainWindowHandle != nullptr || isOver; });
            if (const HWND window = mainWindowHandle) {
                drive(window);
                // Ends the loop as if the window had been destroyed.
                SendMessageW(window, WM_DESTROY, 0, 0);
            }
        });
        const int result = CreateMainWindow(SW_SHOWNORMAL, &vars, operation);
        isOver = true;
        driver.join();
        DestroyWindow(mainWindowHandle);
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        }
        return result;
    }

    // The operation's thread was ended from outside.
    bool WasTerminated() const {
        DWORD code = 0;
        return WaitForSingleObject(operationThread, 0) == WAIT_OBJECT_0 &&
               GetExitCodeThread(operationThread, &code) && code != ownEnd;
    }

    // Signalled, it lets the operation end.
    HANDLE mayEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    GlobalVars vars;
    Boxes boxes{IDYES};
    HttpInbox inbox;

  private:
    HANDLE operationThread = nullptr;
    ScratchFolder scratch;
    TempVariable temp{scratch.path};
    const std::string table = NumberedTexts();
    FakeResource texts{L"TEXTS", &table};
    Replaced createThread = Replace(
        "kernel32.dll", "CreateThread", CreateThread,
        [this](auto real, auto security, SIZE_T stack, auto entry, void* parameter, auto... rest) {
            if (entry != &WorkerThreadProc) {
                return real(security, stack, entry, parameter, rest...);
            }
            EXPECT_EQ(parameter, &progressObject);
            const HANDLE own = GetCurrentProcess();
            HANDLE given = nullptr;
            operationThread = real(nullptr, 0, WaitForEnd, mayEnd, 0, nullptr);
            DuplicateHandle(own, operationThread, own, &given, 0, FALSE, DUPLICATE_SAME_ACCESS);
            return given;
        });
};

// Place in its parent, size and text.
std::wstring Describe(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, GetAncestor(window, GA_PARENT), reinterpret_cast<POINT*>(&place), 2);
    wchar_t text[100];
    wsprintfW(text, L"%d,%d %dx%d ", place.left, place.top, place.right - place.left,
              place.bottom - place.top);
    return text + WindowText(window) + L"|";
}

bool HasShadow(HWND window) {
    return (GetClassLongW(window, GCL_STYLE) & CS_DROPSHADOW) != 0;
}

}  // namespace

// When a close request is refused, and how the window shows stages and questions, is seen in the
// scenarios.

TEST(MainWindow, MeasuresTheBarAndKnowsTheStatusOfEachStage) {
    const int bars[][4] = {
        {1, 0, 100, 3}, {100, 0, 100, 319}, {500, 0, 1000, 159}, {5, 10, 30, 79}};
    for (const auto& bar : bars) {
        EXPECT_EQ(BarWidth(bar[0], bar[1], bar[2]), bar[3]) << bar[0];
    }
    const int online[] = {-1, -1, -1, 6, 7, 7, 7, 7, 7, 7};
    for (int stage = 0; stage < 10; ++stage) {
        EXPECT_EQ(StatusTextOfStage(stage, false), online[stage]) << stage;
        EXPECT_EQ(StatusTextOfStage(stage, true), stage < 4 ? -1 : 7) << stage;
    }
}

TEST(MainWindow, IsABorderlessPictureWithThreeControls) {
    const std::wstring middle = std::to_wstring((GetSystemMetrics(SM_CXSCREEN) - 500) / 2) + L"," +
                                std::to_wstring((GetSystemMetrics(SM_CYSCREEN) - 254) / 2);
    WindowRun run;
    run.vars.isOffline = true;
    const auto drive = [&](HWND window) {
        const HWND bar = GetWindow(window, GW_CHILD);
        const HWND title = GetWindow(bar, GW_HWNDNEXT);
        const HWND status = GetWindow(title, GW_HWNDNEXT);
        EXPECT_EQ(GetWindow(status, GW_HWNDNEXT), nullptr);
        EXPECT_EQ(Describe(window) + Describe(title) + Describe(status),
                  middle + L" 500x254 text 0|0,127 500x30 text 1|0,200 500x15 text 5|");
        EXPECT_EQ(Describe(bar).find(L"90,176 "), 0u);
        RECT client{};
        GetClientRect(window, &client);
        EXPECT_TRUE(client.right == 500 && client.bottom == 254);
        POINT point{250, 100};
        ClientToScreen(window, &point);
        EXPECT_EQ(SendMessageW(window, WM_NCHITTEST, 0, MAKELPARAM(point.x, point.y)), HTCAPTION);
        MINMAXINFO sizes{};
        SendMessageW(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&sizes));
        for (const POINT& size : {sizes.ptMinTrackSize, sizes.ptMaxTrackSize}) {
            EXPECT_TRUE(size.x == 500 && size.y == 254);
        }
        EXPECT_EQ(SendMessageW(window, WM_NCACTIVATE, FALSE, 0), 1);
        EXPECT_FALSE(HasShadow(window));
        // Offline nothing is downloaded. The tick that sees the position has seen the stage too.
        progressObject.stage = StageDownloadFiles;
        progressObject.position = 50;
        BITMAP picture{};
        EXPECT_TRUE(WaitUntil([&] {
            const LRESULT shown = SendMessageW(bar, STM_GETIMAGE, IMAGE_BITMAP, 0);
            GetObjectW(reinterpret_cast<HBITMAP>(shown), sizeof picture, &picture);
            return picture.bmWidth == 159;
        }));
        EXPECT_EQ(picture.bmHeight, 15);
        EXPECT_EQ(WindowText(status), L"text 5");
    };
    EXPECT_EQ(run.Run(OperationInstall, drive), 0);
}

TEST(MainWindow, HasAShadowWhereTheSystemDrawsNoFrame) {
    WindowRun run;
    const FailingCall noFrame("kernel32.dll", "GetProcAddress", &GetProcAddress, nullptr);
    run.Run(OperationInstall, [](HWND window) { EXPECT_TRUE(HasShadow(window)); });
}

TEST(MainWindow, EndsTheOperationThatTheUserCancels) {
    WindowRun run;
    run.Run(OperationInstall, [](HWND window) {
        SendMessageW(window, WM_CLOSE, 0, 0);
        EXPECT_FALSE(IsWindow(window));
    });
    EXPECT_EQ(run.boxes.shown, L"text 3|text 0|24|");
    EXPECT_TRUE(run.WasTerminated());
    EXPECT_TRUE(run.inbox.Requests().empty());
}

TEST(MainWindow, FailsWithoutItsClass) {
    WindowRun run;
    const LogCapture log;
    const FailingCall noClass("user32.dll", "RegisterClassExW", &RegisterClassExW, 0);
    EXPECT_EQ(run.Run(OperationInstall, [](HWND) {}), -1);
    EXPECT_EQ(log.Lines(), L"ERROR MainWindow CreateMainWindow: error of RegisterClassEx: " +
                               ErrorText(ERROR_NOT_ENOUGH_MEMORY) + L"\n");
}

// A process has one window whose operation ends: this is the only test in which one does.
TEST(MainWindow, ActsOnceOnTheEndOfTheOperation) {
    WindowRun run;
    progressObject.report.SetMessage(L"the-failure");
    bool isFirst = true;
    run.boxes.whileOpen = [&] {
        // A tick that was already on its way.
        if (std::exchange(isFirst, false)) {
            SendMessageW(mainWindowHandle, WM_TIMER, 1, 0);
            EXPECT_TRUE(IsWindow(mainWindowHandle));
        }
    };
    const auto end = [&](HWND window) {
        progressObject.errorCode = ErrorManifest;
        SetEvent(run.mayEnd);
        EXPECT_TRUE(WaitUntil([&] { return !IsWindow(window); }));
    };
    EXPECT_EQ(run.Run(OperationInstall, end), 0);
    EXPECT_EQ(run.boxes.shown, L"text 8|text 0|10|");
    const std::vector<std::string> requests = run.inbox.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_NE(requests[0].find("\"the-failure%20"), std::string::npos);
}
