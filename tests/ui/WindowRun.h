#pragma once

#include <functional>

#include "startup/GlobalVars.h"
#include "support/HttpInbox.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"
#include "ui/Boxes.h"
#include "ui/FakeResource.h"

/// One run of CreateMainWindow on the calling thread, with the real window and, for an operation,
/// a thread that waits to be told to end. One at a time.
class WindowRun {
  public:
    WindowRun();
    ~WindowRun();

    /// `drive` gets the window on a thread of its own; when it returns the run is ended, if it has
    /// not ended before. Gives the result of CreateMainWindow.
    int Run(int operation, const std::function<void(HWND)>& drive);

    /// The operation's thread was ended from outside.
    bool WasTerminated() const;

    /// Signalled, it lets the operation end.
    HANDLE mayEnd;
    bool canStartThreads = true;
    /// The window was gone when `drive` returned.
    bool wasClosed = false;
    GlobalVars vars;
    Boxes boxes{IDNO};
    HttpInbox inbox;

  private:
    static HANDLE WINAPI StartThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                                     LPTHREAD_START_ROUTINE entry, LPVOID parameter, DWORD flags,
                                     LPDWORD id);

    HANDLE operationThread = nullptr;
    ScratchFolder scratch;
    TempVariable temp{scratch.path};
    FakeResource texts{L"TEXTS", &NumberedTexts()};
    ImportPatch createThread;
};
