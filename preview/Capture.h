#pragma once

#include <windows.h>

#include "kit/Images.h"

/// What a window shows, wherever it lies. Without pixels when the window cannot be drawn.
Pixels CaptureWindow(HWND window);

/// The pixels of a 32-bit bitmap.
Pixels ReadBitmap(HBITMAP bitmap);

/// True when every pixel is the same, so that nothing can be seen.
bool IsOneColour(const Pixels& pixels);
