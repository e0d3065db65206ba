#pragma once

#include <windows.h>

#include "operations/Progress.h"
#include "resources/TextTableFormat.h"

/// What differs between the operations from the outside.
struct OperationTraits {
    void (CProgressObject::*run)();
    /// Rows of the status text that the window begins with, and of the box that tells of a failure;
    /// an update fails without a box.
    TextRow firstText;
    int failureText;
    /// The work is done out of sight.
    bool isOffScreen;
};
constexpr int noText = -1;

/// `operation` is an Operation.
const OperationTraits& TraitsOf(int operation);

/// Runs the object's operation on the calling thread, to its end.
void RunOperation(CProgressObject& progress);

/// Entry of the worker thread; `parameter` is the CProgressObject.
DWORD WINAPI WorkerThreadProc(void* parameter);
