#pragma once

#include <windows.h>

/// Waits until the condition holds: true. False after the bound in milliseconds, or, with a
/// process, when that has ended and the condition still does not hold.
template <typename Condition>
bool WaitUntil(Condition condition, DWORD bound = 20000, HANDLE process = nullptr) {
    constexpr DWORD lookPeriod = 10;
    const ULONGLONG end = GetTickCount64() + bound;
    while (!condition()) {
        const bool ended = process != nullptr && WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
        if (ended || GetTickCount64() >= end) {
            return condition();
        }
        Sleep(lookPeriod);
    }
    return true;
}
