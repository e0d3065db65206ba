#pragma once

#include <windows.h>

#include "ui/DialogAsking.h"

/// The window's half of ShowDialog: shows the request's box above `window` and gives the answer. A
/// locked target is offered, without administrator rights, together with an elevated copy of the
/// program; when the user takes that, the answer is IDCANCEL and `globalVars.elevatedCopyStarted`
/// tells whether the copy runs. Runs on the window's thread and blocks until the user has answered.
int AnswerDialogRequest(HWND window, const DialogRequest& request);
