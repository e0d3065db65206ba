#pragma once

#include <string>
#include <vector>

#include "preview/Record.h"

/// Plays all scenes on this thread and takes their pictures as PNG files into an existing folder.
/// Needs a prepared stage (Scenes.h) and COM. Returns an empty text, or one line that says what
/// failed. When a window or box is not there after 10 seconds, the process ends with exit code 1
/// and a line on stderr.
std::string TakePictures(const std::wstring& folder, std::vector<Picture>& pictures);
