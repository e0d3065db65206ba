#include "ui/WindowRun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "operations/Progress.h"
#include "support/Waiting.h"
#include "ui/MainWindow.h"
#include "ui/ShowDialog.h"

namespace {

constexpr DWORD ownEnd = 5;

WindowRun* current;

DWORD WINAPI WaitForEnd(void* event) {
    WaitForSingleObject(event, INFINITE);
    return ownEnd;
}

}  // namespace

WindowRun::WindowRun()
    : mayEnd(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      createThread("kernel32.dll", "CreateThread", AsProc(&StartThread)) {
    current = this;
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

WindowRun::~WindowRun() {
    SetEvent(mayEnd);
    WaitForSingleObject(operationThread, 10000);
    CloseHandle(operationThread);
    CloseHandle(mayEnd);
    progressObject.workerThread = nullptr;
}

int WindowRun::Run(int operation, const std::function<void(HWND)>& drive) {
    std::atomic<bool> isOver = false;
    std::thread driver([&] {
        WaitUntil([&] { return mainWindowHandle != nullptr || isOver; });
        if (const HWND window = mainWindowHandle) {
            drive(window);
            wasClosed = !IsWindow(window);
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

bool WindowRun::WasTerminated() const {
    DWORD code = 0;
    return WaitForSingleObject(operationThread, 0) == WAIT_OBJECT_0 &&
           GetExitCodeThread(operationThread, &code) && code != ownEnd;
}

HANDLE WINAPI WindowRun::StartThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                                     LPTHREAD_START_ROUTINE entry, LPVOID parameter, DWORD flags,
                                     LPDWORD id) {
    const auto start = reinterpret_cast<decltype(&CreateThread)>(current->createThread.original);
    if (entry != &WorkerThreadProc) {
        return start(security, stackSize, entry, parameter, flags, id);
    }
    EXPECT_EQ(parameter, &progressObject);
    if (!current->canStartThreads) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    HANDLE given = nullptr;
    current->operationThread = start(nullptr, 0, WaitForEnd, current->mayEnd, 0, nullptr);
    DuplicateHandle(GetCurrentProcess(), current->operationThread, GetCurrentProcess(), &given, 0,
                    FALSE, DUPLICATE_SAME_ACCESS);
    return given;
}
