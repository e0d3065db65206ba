#include "base/Bitness.h"

#include <windows.h>

bool Is64BitSystem() {
    using IsWow64ProcessCall = BOOL(WINAPI*)(HANDLE, PBOOL);
    const auto isWow64Process = reinterpret_cast<IsWow64ProcessCall>(
        GetProcAddress(GetModuleHandleW(L"kernel32"), "IsWow64Process"));
    BOOL flag = FALSE;
    if (isWow64Process != nullptr) {
        isWow64Process(GetCurrentProcess(), &flag);
    }
    return flag != FALSE;
}
