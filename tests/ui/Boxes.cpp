#include "ui/Boxes.h"

#include <stdlib.h>

namespace {

Boxes* current;

int WINAPI Show(HWND owner, LPCWSTR text, LPCWSTR caption, UINT flags) {
    wchar_t digits[16];
    current->shown += std::wstring(text) + L"|" + caption + L"|" + _itow(flags, digits, 16) + L"|";
    current->owner = owner;
    current->thread = GetCurrentThreadId();
    if (current->whileOpen) {
        current->whileOpen();
    }
    return current->answer;
}

}  // namespace

Boxes::Boxes(int button) : answer(button), patch("user32.dll", "MessageBoxW", AsProc(&Show)) {
    current = this;
}
