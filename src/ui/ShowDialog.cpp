#include "ui/ShowDialog.h"

#include "diagnostics/Log.h"
#include "ui/Texts.h"

HWND mainWindowHandle = nullptr;
int dialogResult = 0;

namespace {

int RefuseAfter(const wchar_t* call) {
    const std::wstring error = LastErrorText();
    utilsLog.Error(std::wstring(L"ShowDialog: ") + call + L" error: " + error);
    return IDCANCEL;
}

int AskThrough(HWND window, DialogRequest& request, HANDLE answered) {
    if (!PostMessageW(window, dialogRequestMessage, reinterpret_cast<WPARAM>(answered),
                      reinterpret_cast<LPARAM>(&request))) {
        return RefuseAfter(L"SendMessageCallback");
    }
    if (WaitForSingleObject(answered, INFINITE) != WAIT_OBJECT_0) {
        return RefuseAfter(L"WaitForSingleObject");
    }
    return dialogResult;
}

}  // namespace

int ShowDialog(int textIndex, UINT flags, HWND ownerWindow) {
    if (ownerWindow == nullptr ||
        GetWindowThreadProcessId(ownerWindow, nullptr) == GetCurrentThreadId()) {
        return MessageBoxW(ownerWindow, GetString(textIndex), GetString(TextTitle), flags);
    }
    DialogRequest request{textIndex, TextTitle, flags};
    const HANDLE answered = CreateEventW(nullptr, TRUE, FALSE, L"LM_FS_ERROR_MESSAGE_EVENT");
    if (answered == nullptr) {
        return RefuseAfter(L"CreateEvent");
    }
    const int result = AskThrough(ownerWindow, request, answered);
    CloseHandle(answered);
    return result;
}
