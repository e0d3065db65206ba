#pragma once

#include <windows.h>

/// What the window shows on top of its picture: product name, status line and bar, at fixed places
/// of the picture, which holds the track of the bar. Used on the window's thread only.
struct ProgressControls {
    HBITMAP barBitmap = nullptr;
    HWND barControl = nullptr;
    HWND titleLabel = nullptr;
    HWND statusLabel = nullptr;
};

/// Makes the controls as children of `window`, `windowWidth` pixels wide where they are centred,
/// with an empty bar and no text. They live as long as the window.
ProgressControls CreateProgressControls(HWND window, HINSTANCE instance, int windowWidth);

/// Stretches the bar to a width in pixels.
void DrawBar(ProgressControls& controls, int width);

/// Width in pixels of the bar at `position` on the scale from `rangeMin` to `rangeMax`.
int BarWidth(int position, int rangeMin, int rangeMax);
