#include "ui/DialogAsking.h"

#include "base/Log.h"
#include "ui/Texts.h"

HWND mainWindowHandle = nullptr;
int dialogResult = 0;

namespace {

int RefuseAfter(const wchar_t* call) {
    const std::wstring error = LastErrorText();
    utilsLog.Error(std::wstring(L"ShowDialog: ") + call + L" error: " + error);
    return IDCANCEL;
}

// All setup programs of the session know the event's name. One that exists is of another one's
// question, and one of a program with more rights cannot be opened.
HANDLE CreateAnswerEvent() {
    const HANDLE named = CreateEventW(nullptr, TRUE, FALSE, L"LM_FS_ERROR_MESSAGE_EVENT");
    if (named != nullptr) {
        if (GetLastError() != ERROR_ALREADY_EXISTS) {
            return named;
        }
        CloseHandle(named);
    }
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

void Release(const DialogRequest* request, HANDLE event) {
    CloseHandle(event);
    delete request;
}

int AskThrough(HWND window, DialogRequest* request, HANDLE event) {
    if (!PostMessageW(window, dialogRequestMessage, reinterpret_cast<WPARAM>(event),
                      reinterpret_cast<LPARAM>(request))) {
        const int refusal = RefuseAfter(L"SendMessageCallback");
        Release(request, event);
        return refusal;
    }
    do {
        if (WaitForSingleObject(event, INFINITE) != WAIT_OBJECT_0) {
            // Both stay: the window may still come to the question.
            return RefuseAfter(L"WaitForSingleObject");
        }
        // Ahead of the look: an answer that comes in between sets it again.
        ResetEvent(event);
    } while (!request->isAnswered);
    // Another program's set may have come between the two steps of the window's thread.
    while (!request->isReleased) {
        SwitchToThread();
    }
    Release(request, event);
    return dialogResult;
}

}  // namespace

int ShowDialog(int textIndex, UINT flags, HWND ownerWindow) {
    if (ownerWindow == nullptr ||
        GetWindowThreadProcessId(ownerWindow, nullptr) == GetCurrentThreadId()) {
        return MessageBoxW(ownerWindow, GetString(textIndex), GetString(TextTitle), flags);
    }
    const HANDLE event = CreateAnswerEvent();
    if (event == nullptr) {
        return RefuseAfter(L"CreateEvent");
    }
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): stays where the wait fails
    return AskThrough(ownerWindow, new DialogRequest{textIndex, TextTitle, flags}, event);
}
