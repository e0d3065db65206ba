#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "support/ImportPatch.h"

/// Stands in for MessageBoxW for one scope, one at a time.
class Boxes {
  public:
    explicit Boxes(int answer);

    int answer;
    /// Called while a box is open.
    std::function<void()> whileOpen;
    /// Text, caption and flags in hexadecimal of each box since this was cleared.
    std::wstring shown;
    HWND owner = nullptr;
    DWORD thread = 0;

  private:
    ImportPatch patch;
};
