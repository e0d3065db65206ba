#include <windows.h>

#include "resources/ResourceIds.h"

/// A program to stamp: its exit code is the length of its product's display name.
int wmain() {
    wchar_t name[260];
    return LoadStringW(nullptr, IDS_DISPLAY_NAME, name, 260);
}
