#pragma once

#include <string>

#include "kit/Findings.h"

/// Checks the window's picture, the bytes of background.png: a whole PNG of 8 bits per channel, RGB
/// or RGBA, not interlaced, big enough for what the window draws on it and small enough for a small
/// screen, with the field that the progress bar grows over (Picture.cpp has its place and colours).
/// Transparency is a warning: the window blends it with black.
void CheckPicture(const std::string& file, Findings& findings);
