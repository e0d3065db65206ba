// The pin tool of the sample product, syspin.exe: pins nothing, records what it was asked to do in
// syspin.log in the temporary folder.
#include <windows.h>
#include <string>

#include "Record.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
    wchar_t folder[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, folder);
    RecordStart(std::wstring(folder) + L"syspin.log");
    return 0;
}
