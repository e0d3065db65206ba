#include "ui/MainWindow.h"
#include "ui/ProgressControls.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "diagnostics/Log.h"
#include "operations/Progress.h"
#include "support/BoxDriver.h"
#include "support/FailingCall.h"
#include "support/Waiting.h"
#include "ui/ShowDialog.h"
#include "ui/Texts.h"
#include "ui/WindowRun.h"

namespace {

BOOL CALLBACK CollectControl(HWND control, LPARAM list) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(control);
    return TRUE;
}

// The bar, the title and the status line, in the order in which they were made.
std::vector<HWND> Controls(HWND window) {
    std::vector<HWND> controls;
    EnumChildWindows(window, CollectControl, reinterpret_cast<LPARAM>(&controls));
    EXPECT_EQ(controls.size(), 3u);
    controls.resize(3);
    return controls;
}

SIZE BarSize(HWND window) {
    BITMAP picture{};
    GetObjectW(
        reinterpret_cast<HBITMAP>(SendMessageW(Controls(window)[0], STM_GETIMAGE, IMAGE_BITMAP, 0)),
        sizeof picture, &picture);
    return {picture.bmWidth, picture.bmHeight};
}

// Place in its parent, size and text.
std::wstring Describe(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, GetAncestor(window, GA_PARENT), reinterpret_cast<POINT*>(&place), 2);
    std::wstring text = std::to_wstring(place.left) + L"," + std::to_wstring(place.top);
    text += L" " + std::to_wstring(place.right - place.left) + L"x" +
            std::to_wstring(place.bottom - place.top);
    return text + L" " + WindowText(window) + L"|";
}

}  // namespace

TEST(MainWindow, MeasuresTheBarAndKnowsTheStatusOfEachStage) {
    const int bars[][4] = {{0, 0, 100, 0},     {1, 0, 100, 3},      {50, 0, 100, 159},
                           {100, 0, 100, 319}, {500, 0, 1000, 159}, {5, 10, 30, 79}};
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
    const int left = (GetSystemMetrics(SM_CXSCREEN) - 500) / 2;
    const int top = (GetSystemMetrics(SM_CYSCREEN) - 254) / 2;
    const std::wstring middle = std::to_wstring(left) + L"," + std::to_wstring(top);
    const std::pair<std::wstring, std::wstring> looks[] = {
        {middle, L"text 5"}, {middle, L"text 11"}, {L"-1000,-1000", L"text 14"}};
    for (int operation = OperationInstall; operation <= OperationUpdate; ++operation) {
        WindowRun run;
        const auto drive = [&](HWND window) {
            const auto& [place, status] = looks[operation];
            const std::vector<HWND> controls = Controls(window);
            EXPECT_EQ(Describe(window) + Describe(controls[1]) + Describe(controls[2]),
                      place + L" 500x254 text 0|0,127 500x30 text 1|0,200 500x15 " + status + L"|");
            EXPECT_EQ(Describe(controls[0]).find(L"90,176 "), 0u);
            RECT client{};
            GetClientRect(window, &client);
            EXPECT_TRUE(client.right == 500 && client.bottom == 254);
            POINT point{250, 100};
            ClientToScreen(window, &point);
            EXPECT_EQ(SendMessageW(window, WM_NCHITTEST, 0, MAKELPARAM(point.x, point.y)),
                      HTCAPTION);
            MINMAXINFO sizes{};
            SendMessageW(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&sizes));
            for (const POINT& size : {sizes.ptMinTrackSize, sizes.ptMaxTrackSize}) {
                EXPECT_TRUE(size.x == 500 && size.y == 254);
            }
            EXPECT_EQ(SendMessageW(window, WM_NCACTIVATE, FALSE, 0), 1);
            EXPECT_EQ(GetClassLongW(window, GCL_STYLE) & CS_DROPSHADOW, 0u);
        };
        EXPECT_EQ(run.Run(operation, drive), 0);
        EXPECT_EQ(progressObject.operation, operation);
    }
    WindowRun run;
    const FailingCall noFrame("kernel32.dll", "GetProcAddress", &GetProcAddress, nullptr);
    run.Run(OperationInstall,
            [](HWND window) { EXPECT_NE(GetClassLongW(window, GCL_STYLE) & CS_DROPSHADOW, 0u); });
}

TEST(MainWindow, ShowsPositionAndStageOfTheOperation) {
    const struct {
        int operation;
        bool isOffline;
        int stage;
        const wchar_t* status;
    } cases[] = {
        {OperationInstall, false, StageCheckInstalled, L"text 5"},
        {OperationInstall, false, StageDownloadFiles, L"text 6"},
        {OperationInstall, true, StageDownloadFiles, L"text 5"},
        {OperationInstall, true, StageUnpack, L"text 7"},
        {OperationUninstall, false, StageRemoveFiles, L"text 11"},
        {OperationUpdate, false, StageUpdateUnpack, L"text 14"},
    };
    int position = 10;
    for (const auto& row : cases) {
        WindowRun run;
        run.vars.isOffline = row.isOffline;
        run.Run(row.operation, [&](HWND window) {
            // The tick that sees the position has seen the stage too.
            progressObject.stage = row.stage;
            progressObject.position = position += 10;
            const int width = position * 319 / 100;
            EXPECT_TRUE(WaitUntil([&] { return BarSize(window).cx == width; }));
            EXPECT_EQ(BarSize(window).cy, 15);
            EXPECT_EQ(WindowText(Controls(window)[2]), row.status) << row.stage;
        });
        EXPECT_FALSE(run.wasClosed);
    }
}

TEST(MainWindow, ClosesOnlyAnInstallThatMayStillBeCancelledOrIsDone) {
    const wchar_t* const question = L"text 3|text 0|24|";
    const struct {
        int operation;
        int stage;
        int answer;
        const wchar_t* box;
        bool closes;
    } cases[] = {
        {OperationInstall, StageNone, IDYES, question, true},
        {OperationInstall, StageUnpack, IDYES, question, true},
        {OperationInstall, StageDownloadFiles, IDNO, question, false},
        {OperationInstall, StagePlaceFiles, IDYES, L"", false},
        {OperationInstall, StageStartApp, IDYES, L"", false},
        {OperationInstall, StageInstalled, IDYES, L"", true},
        {OperationUninstall, StageNone, IDYES, L"", false},
        {OperationUninstall, StageUninstalled, IDYES, L"", false},
        {OperationUpdate, StageNone, IDYES, L"", false},
        {OperationUpdate, StageInstalled, IDYES, L"", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.operation << " in stage " << row.stage);
        WindowRun run;
        run.boxes.answer = row.answer;
        run.Run(row.operation, [&](HWND window) {
            progressObject.stage = row.stage;
            SendMessageW(window, WM_CLOSE, 0, 0);
            // Nobody keeps the gate shut.
            EXPECT_EQ(WaitForSingleObject(progressObject.stageMutex, 5000), WAIT_OBJECT_0);
            ReleaseMutex(progressObject.stageMutex);
        });
        EXPECT_EQ(run.boxes.shown, row.box);
        EXPECT_EQ(run.wasClosed, row.closes);
        EXPECT_EQ(run.WasTerminated(), row.closes && row.box[0]);
        EXPECT_EQ(run.inbox.Requests().size(), 0u);
    }
}

TEST(MainWindow, HoldsTheOperationAtItsNextStageWhileItAsks) {
    WindowRun run;
    std::thread operation;
    run.boxes.whileOpen = [&] {
        operation = std::thread([] { progressObject.SetStage(StageUnpack); });
        EXPECT_FALSE(WaitUntil([] { return progressObject.stage != StageNone; }, 100));
    };
    run.Run(OperationInstall, [](HWND window) { SendMessageW(window, WM_CLOSE, 0, 0); });
    ASSERT_TRUE(operation.joinable());
    EXPECT_TRUE(WaitUntil([] { return progressObject.stage == StageUnpack; }));
    operation.join();
}

TEST(MainWindow, AnswersAWorkersQuestionOnItsOwnThread) {
    WindowRun run;
    DWORD eventState = WAIT_FAILED;
    run.boxes.answer = IDOK;
    run.boxes.whileOpen = [&] {
        const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, L"LM_FS_ERROR_MESSAGE_EVENT");
        eventState = WaitForSingleObject(event, 0);
        CloseHandle(event);
    };
    run.Run(OperationInstall, [&](HWND window) {
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(ShowDialog(TextUpToDateContinue, 0x21, window), IDOK);
            EXPECT_EQ(run.boxes.owner, window);
            EXPECT_EQ(eventState, static_cast<DWORD>(WAIT_TIMEOUT)) << "signalled too early";
        }
    });
    EXPECT_EQ(run.boxes.shown, L"text 18|text 0|21|text 18|text 0|21|");
    EXPECT_EQ(run.boxes.thread, GetCurrentThreadId());
}

TEST(MainWindow, ReportsThatTheOperationCannotStart) {
    const wchar_t* const boxes[] = {L"text 8|text 0|10|", L"text 12|text 0|10|", L""};
    for (int operation = OperationInstall; operation <= OperationUpdate; ++operation) {
        WindowRun run;
        run.canStartThreads = false;
        run.boxes.whileOpen = [&] { EXPECT_EQ(run.inbox.Requests().size(), 1u); };
        const LogCapture log;
        EXPECT_EQ(run.Run(operation, [](HWND) { ADD_FAILURE() << "a window"; }), -1);
        EXPECT_EQ(run.boxes.shown, boxes[operation]);
        EXPECT_EQ(run.inbox.Requests().size(), 1u);
        EXPECT_TRUE(log.Has(L"ERROR MainWindow CreateMainWindow: error of CreateWindow: ["));
    }
}

TEST(MainWindow, FailsWithoutClassOrWindow) {
    const std::wstring line = L"ERROR MainWindow CreateMainWindow: error of ";
    const std::wstring error = ErrorText(ERROR_NOT_ENOUGH_MEMORY) + L"\n";
    WindowRun run;
    const LogCapture log;
    {
        const FailingCall noClass("user32.dll", "RegisterClassExW", &RegisterClassExW, 0);
        EXPECT_EQ(run.Run(OperationInstall, [](HWND) {}), -1);
    }
    const FailingCall noWindow("user32.dll", "CreateWindowExW", &CreateWindowExW, nullptr);
    EXPECT_EQ(run.Run(OperationInstall, [](HWND) {}), -1);
    EXPECT_EQ(log.Lines(), line + L"RegisterClassEx: " + error + line + L"CreateWindow: " + error);
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
