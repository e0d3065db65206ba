#pragma once

/// Shows the program's one window, runs the operation (Progress.h) on a worker thread and the
/// message loop on this one. Returns when the window is gone: the quit message's wParam, which is
/// 0, or -1, after an ERROR line, when the window could not be made. To be called at most once per
/// process.
///
/// The window learns everything by polling the progress object on a 10 ms timer; the one message
/// that a worker sends it is a dialog request (DialogAsking.h). Only an install can be cancelled,
/// by closing the window up to the unpacking; while it asks, the operation stops at its next stage.
/// A confirmed cancel ends the process, with exit code 0, when the window is gone.
int CreateMainWindow(int showCommand, int operation);

/// Row of the status text that an install shows from `stage` on; -1 while it keeps the one it has.
int StatusTextOfStage(int stage, bool isOffline);
