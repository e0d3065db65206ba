#pragma once

/// Finds, reads and answers the windows and boxes of another process. Nothing here blocks longer
/// than its bound, also when the other process hangs.

#include <windows.h>

#include <string>
#include <vector>

/// A message box or a task dialog.
struct Box {
    HWND window = nullptr;  // null: there was none
    std::wstring caption;
    std::vector<std::wstring> texts;  // of its labels, those that are empty left out
    std::vector<int> buttons;         // their ids, in the order of the screen
    bool hasOwner = false;

    explicit operator bool() const {
        return window != nullptr;
    }
};

constexpr DWORD boxBound = 30000;

/// The box that the process (0: any but this one) shows now and that can be answered.
Box FindBox(DWORD processId);

/// Waits until the process shows one; comes back without it when the process has ended before, or
/// after the bound in milliseconds.
Box WaitForBox(HANDLE process, DWORD bound = boxBound);

/// Presses a button (IDOK, IDCANCEL, IDRETRY, IDYES, IDNO, the id of a task dialog's own button)
/// and waits until the box is gone. False when the box has no such button or stays.
bool PressButton(const Box& box, int button);

/// The visible or hidden top-level window of the process (0: any but this one) with this
/// class; null when it has none.
HWND FindWindowOf(DWORD processId, const std::wstring& className);

/// The same, waiting as WaitForBox does.
HWND WaitForWindow(HANDLE process, const std::wstring& className, DWORD bound = boxBound);

/// Text of a window; empty when it does not answer.
std::wstring WindowText(HWND window);

/// Texts of the labels on a window, in the order in which they were made, empty ones included.
std::vector<std::wstring> LabelTexts(HWND window);
