#include "ui/DialogAnswering.h"

#include <commctrl.h>

#include "base/GlobalVars.h"
#include "processes/Launch.h"
#include "ui/Texts.h"

namespace {

constexpr int elevationButton = 1;

HRESULT CALLBACK ElevationCallback(HWND dialog, UINT notification, WPARAM, LPARAM, LONG_PTR) {
    if (notification == TDN_CREATED) {
        SendMessageW(dialog, TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE, elevationButton, TRUE);
    }
    return S_OK;
}

// The id of the pressed button; 0 when the dialog could not be shown.
int ShowElevationDialog(HWND window) {
    const TASKDIALOG_BUTTON elevate = {elevationButton, GetString(TextRetry)};
    TASKDIALOGCONFIG config{};
    config.cbSize = sizeof config;
    config.hwndParent = window;
    config.dwCommonButtons = TDCBF_CANCEL_BUTTON | TDCBF_RETRY_BUTTON;
    config.pszWindowTitle = GetString(TextTitle);
    config.pszMainIcon = TD_WARNING_ICON;
    config.pszContent = GetString(TextAccessBlocked);
    config.cButtons = 1;
    config.pButtons = &elevate;
    config.nDefaultButton = IDRETRY;
    config.pfCallback = ElevationCallback;
    int pressed = 0;
    TaskDialogIndirect(&config, &pressed, nullptr, nullptr);
    return pressed;
}

int AskWithElevation(HWND window) {
    const int pressed = ShowElevationDialog(window);
    if (pressed != elevationButton) {
        return pressed;
    }
    globalVars.elevatedCopyStarted = RunAs(window) == 0;
    return IDCANCEL;
}

}  // namespace

int AnswerDialogRequest(HWND window, const DialogRequest& request) {
    if (request.textIndex != TextAccessBlocked) {
        return MessageBoxW(window, GetString(request.textIndex), GetString(request.captionIndex),
                           request.flags);
    }
    if (!IsRunAsAdmin()) {
        return AskWithElevation(window);
    }
    return MessageBoxW(window, GetString(TextAccessBlocked), GetString(TextTitle),
                       MB_RETRYCANCEL | MB_ICONWARNING);
}
