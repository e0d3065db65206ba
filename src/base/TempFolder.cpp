#include "base/TempFolder.h"

bool GetTempFolder(wchar_t (&path)[MAX_PATH]) {
    const DWORD length = GetTempPathW(MAX_PATH, path);
    return length != 0 && length <= MAX_PATH;
}
