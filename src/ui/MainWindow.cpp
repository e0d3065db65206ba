#include "ui/MainWindow.h"

#include <windows.h>
#include <dwmapi.h>
#include <objbase.h>

#include "base/GlobalVars.h"
#include "base/Log.h"
#include "base/SystemLibrary.h"
#include "diagnostics/ErrorReport.h"
#include "operations/Operations.h"
#include "resources/ResourceIds.h"
#include "ui/BackgroundImage.h"
#include "ui/DialogAnswering.h"
#include "ui/DialogAsking.h"
#include "ui/OperationEnd.h"
#include "ui/ProgressControls.h"
#include "ui/Texts.h"

namespace {

constexpr UINT_PTR tickTimer = 1;
constexpr UINT tickPeriod = 10;

// Where nobody sees the window.
constexpr int offScreen = -1000;

// The window's state, touched by the main thread only.
struct WindowState {
    HINSTANCE moduleInstance;
    CProgressObject* progress;
    ErrorReport* errorReport;
    HBITMAP backgroundBitmap;
    int windowWidth;
    int windowHeight;
    ProgressControls controls;
    int lastPosition;
    int lastStage;
    bool operationEnded;
};
WindowState state{};

void UseShadowWithoutFrame(HWND window) {
    const auto extendFrame = SystemFunction(L"dwmapi.dll", "DwmExtendFrameIntoClientArea",
                                            &DwmExtendFrameIntoClientArea);
    const MARGINS margins = {1, 0, 0, 0};
    if (extendFrame == nullptr || extendFrame(window, &margins) != S_OK) {
        SetClassLongW(window, GCL_STYLE, GetClassLongW(window, GCL_STYLE) | CS_DROPSHADOW);
    }
}

void PlaceWindow(HWND window) {
    BITMAP picture{};
    GetObjectW(state.backgroundBitmap, sizeof picture, &picture);
    state.windowWidth = picture.bmWidth;
    state.windowHeight = picture.bmHeight;
    int x = offScreen;
    int y = offScreen;
    if (!TraitsOf(state.progress->operation).isOffScreen) {
        x = (GetSystemMetrics(SM_CXSCREEN) - state.windowWidth) / 2;
        y = (GetSystemMetrics(SM_CYSCREEN) - state.windowHeight) / 2;
    }
    SetWindowPos(window, nullptr, x, y, state.windowWidth, state.windowHeight, SWP_SHOWWINDOW);
}

void StartWorker(HWND window) {
    state.progress->workerThread =
        CreateThread(nullptr, 0, WorkerThreadProc, state.progress, 0, nullptr);
    if (state.progress->workerThread != nullptr) {
        return;
    }
    // Nothing is left to cancel behind the box.
    state.operationEnded = true;
    state.errorReport->Send(nullptr);
    KillTimer(window, tickTimer);
    ShowFailure(window, state.progress->operation);
    DestroyWindow(window);
}

void HandleCreate(HWND window) {
    const HICON icon = LoadIconW(state.moduleInstance, MAKEINTRESOURCEW(IDI_PRODUCT));
    UseShadowWithoutFrame(window);
    PlaceWindow(window);
    SendMessageW(window, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageW(window, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
    state.controls = CreateProgressControls(window, state.moduleInstance, state.windowWidth);
    SetWindowTextW(window, GetString(TextTitle));
    SetWindowTextW(state.controls.titleLabel, GetString(TextProductName));
    SetWindowTextW(state.controls.statusLabel,
                   GetString(TraitsOf(state.progress->operation).firstText));
    SetTimer(window, tickTimer, tickPeriod, nullptr);
    StartWorker(window);
}

void ShowStatusOfStage(HWND window) {
    if (state.progress->operation != OperationInstall) {
        return;
    }
    const int text = StatusTextOfStage(state.lastStage, globalVars.isOffline);
    if (text >= 0) {
        SetWindowTextW(state.controls.statusLabel, GetString(text));
        // The label is transparent: its old letters go only with the picture beneath.
        InvalidateRect(window, nullptr, TRUE);
    }
}

void HandleTick(HWND window) {
    if (const int position = state.progress->position; position != state.lastPosition) {
        state.lastPosition = position;
        DrawBar(state.controls,
                BarWidth(position, state.progress->rangeMin, state.progress->rangeMax));
    }
    if (const int stage = state.progress->stage; stage != state.lastStage) {
        state.lastStage = stage;
        ShowStatusOfStage(window);
    }
    if (!state.progress->IsWorkerFinished() || state.operationEnded) {
        return;
    }
    KillTimer(window, tickTimer);
    // A tick that was already on its way arrives while the box below is open.
    state.operationEnded = true;
    FinishOperation(window, *state.progress, *state.errorReport);
    DestroyWindow(window);
}

void HandleClose(HWND window) {
    // Nothing is left to cancel; a box on the end may be open.
    if (state.operationEnded) {
        return;
    }
    WaitForSingleObject(state.progress->stageMutex, INFINITE);
    const int stage = state.progress->stage;
    const bool isInstall = state.progress->operation == OperationInstall;
    if (isInstall && stage < StagePlaceFiles) {
        if (MessageBoxW(window, GetString(TextConfirmCancel), GetString(TextTitle),
                        MB_YESNO | MB_ICONQUESTION) == IDYES) {
            state.progress->TerminateWorker();
            // The window goes with it. Whatever else came first could wait for ever, unseen, for a
            // lock that the ended worker held, such as that of a heap or of the loader.
            TerminateProcess(GetCurrentProcess(), 0);
        }
    } else if (isInstall && stage == StageInstalled) {
        DestroyWindow(window);
    }
    ReleaseMutex(state.progress->stageMutex);
}

void HandleMinMaxInfo(MINMAXINFO* info) {
    const POINT size = {state.windowWidth, state.windowHeight};
    info->ptMinTrackSize = size;
    info->ptMaxTrackSize = size;
}

void HandleDialogRequest(HWND window, WPARAM wParam, LPARAM lParam) {
    // Other programs can post the message too.
    if (wParam == 0 || lParam == 0) {
        return;
    }
    auto* request = reinterpret_cast<DialogRequest*>(lParam);
    dialogResult = AnswerDialogRequest(window, *request);
    request->isAnswered = true;
    SetEvent(reinterpret_cast<HANDLE>(wParam));
    request->isReleased = true;
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            HandleCreate(window);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 1;
        case WM_CLOSE:
            HandleClose(window);
            return 1;
        case WM_GETMINMAXINFO:
            HandleMinMaxInfo(reinterpret_cast<MINMAXINFO*>(lParam));
            return 0;
        case WM_NCCALCSIZE:
            return 0;
        case WM_NCHITTEST: {
            // The user drags the window by any point of the picture.
            const LRESULT place = DefWindowProcW(window, message, wParam, lParam);
            return place == HTCLIENT ? HTCAPTION : place;
        }
        case WM_NCACTIVATE:
            return 1;
        case WM_TIMER:
            HandleTick(window);
            return 1;
        case WM_CTLCOLORSTATIC:
            SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
            return reinterpret_cast<LRESULT>(GetStockObject(NULL_BRUSH));
        case dialogRequestMessage:
            HandleDialogRequest(window, wParam, lParam);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

bool RegisterWindowClass() {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = state.moduleInstance;
    windowClass.hbrBackground = CreatePatternBrush(state.backgroundBitmap);
    windowClass.lpszClassName = globalVars.windowClassName.c_str();
    return RegisterClassExW(&windowClass) != 0;
}

HWND CreateProgramWindow() {
    return CreateWindowExW(0, globalVars.windowClassName.c_str(), L"",
                           WS_POPUP | WS_VISIBLE | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX,
                           CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr,
                           nullptr, state.moduleInstance, nullptr);
}

int RunMessageLoop() {
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

}  // namespace

int StatusTextOfStage(int stage, bool isOffline) {
    if (stage >= StageUnpack) {
        return TextInstalling;
    }
    return stage == StageDownloadFiles && !isOffline ? TextDownloading : -1;
}

int CreateMainWindow(int showCommand, int operation) {
    state.moduleInstance = globalVars.hInstance;
    state.progress = &progressObject;
    state.errorReport = &errorReport;
    state.progress->operation = operation;
    CoInitialize(nullptr);
    state.backgroundBitmap = LoadBackgroundBitmap();
    CoUninitialize();
    if (!RegisterWindowClass()) {
        mainWindowLog.Error(L"CreateMainWindow: error of RegisterClassEx: " + LastErrorText());
        return -1;
    }
    const HWND window = CreateProgramWindow();
    if (window == nullptr) {
        mainWindowLog.Error(L"CreateMainWindow: error of CreateWindow: " + LastErrorText());
        return -1;
    }
    mainWindowHandle = window;
    ShowWindow(window, showCommand);
    UpdateWindow(window);
    return RunMessageLoop();
}
