#pragma once

#include <windows.h>

/// Decodes the PNG in the executable into a top-down 32-bit section whose size is the picture's.
/// The caller owns the bitmap. Null at any failure, without a log line: the picture must have
/// exactly one frame. COM must be initialised on the calling thread.
HBITMAP LoadBackgroundBitmap();
