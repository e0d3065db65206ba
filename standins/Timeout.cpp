// Stands in for: timeout.exe, of which scripts need "timeout /t SECONDS /nobreak".
#include <windows.h>
#include <wchar.h>

/// Sleeps the seconds behind /t, or the first plain number, and ends with 0; with 1 when there is
/// no number. Other switches have no meaning without a keyboard.
int wmain(int count, wchar_t** arguments) {
    for (int i = 1; i < count; ++i) {
        wchar_t* end = nullptr;
        const unsigned long seconds = wcstoul(arguments[i], &end, 10);
        if (end == arguments[i] || *end != L'\0') {
            continue;
        }
        Sleep(seconds * 1000);
        return 0;
    }
    return 1;
}
