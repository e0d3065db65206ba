#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include "support/Replace.h"

/// Fails the test when a program is started with anything but "no console window".
[[nodiscard]] inline Replaced ExpectHiddenStarts() {
    return Replace("kernel32.dll", "CreateProcessW", CreateProcessW,
                   [](auto start, auto program, auto line, auto process, auto thread, auto inherit,
                      DWORD flags, auto... rest) {
                       EXPECT_EQ(flags, 0x8000000u) << line;
                       return start(program, line, process, thread, inherit, flags, rest...);
                   });
}
