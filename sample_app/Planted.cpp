// A library that writes down where it lies when a program loads it.
#include <windows.h>

#include "Record.h"

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        wchar_t path[MAX_PATH] = L"";
        GetModuleFileNameW(library, path, MAX_PATH);
        RecordLine(path, {});
    }
    return TRUE;
}
