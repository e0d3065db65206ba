#include "kit/Console.h"

#include <windows.h>

#include "kit/Files.h"

namespace {

void Print(DWORD stream, const std::string& text) {
    const HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0, written = 0;
    const std::wstring wide = Widen(text);
    // A console shows UTF-16 whatever its code page; files and pipes get UTF-8.
    if (GetConsoleMode(handle, &mode)) {
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
    } else {
        WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    }
}

}  // namespace

void PrintLine(const std::string& text) {
    Print(STD_OUTPUT_HANDLE, text + "\n");
}

void PrintErrorLine(const std::string& text) {
    Print(STD_ERROR_HANDLE, text + "\n");
}
