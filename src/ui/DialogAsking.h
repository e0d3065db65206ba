#pragma once

#include <windows.h>

#include <atomic>

/// What a worker thread asks the window's thread to show. Owned by the asking thread, which waits
/// for the answer; when it cannot wait, the record stays.
struct DialogRequest {
    int textIndex;
    /// Always the title.
    int captionIndex;
    /// Of MessageBoxW.
    UINT flags;
    /// The window's thread sets it behind `dialogResult` and before the event: another program that
    /// knows the event's name can set that too.
    std::atomic<bool> isAnswered = false;
    /// Set behind the event: the window's thread is done with both, which may go.
    std::atomic<bool> isReleased = false;
};

/// Posted to the main window: wParam is the event to set when the answer is there, lParam points at
/// the DialogRequest.
constexpr UINT dialogRequestMessage = WM_USER;

/// The main window, null until it has been created and throughout a console run. Written by
/// CreateMainWindow, read by whoever asks the user.
extern HWND mainWindowHandle;

/// The answer to a request: the window's thread writes it before it sets the event, the asking
/// thread reads it after the wait.
extern int dialogResult;

/// Asks the user: a box on this thread when there is no owner or it belongs to this thread,
/// otherwise through the owner's thread (MainWindow.h), blocking without a time limit. Returns the
/// code of the pressed button, IDCANCEL when the request could not be carried out, 0 when the box
/// could not be shown here: anything but the caller's own positive answer is a refusal.
int ShowDialog(int textIndex, UINT flags, HWND ownerWindow);
