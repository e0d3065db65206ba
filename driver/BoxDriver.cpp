#include "driver/BoxDriver.h"

#include <algorithm>

#include "driver/Waiting.h"

namespace {

BOOL CALLBACK AddWindow(HWND window, LPARAM windows) {
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    return TRUE;
}

// In the order in which they lie on each other, which for controls is that of their making. Not by
// FindWindowEx with a window to go on from: it can keep Wine's server busy for ever.
std::vector<HWND> WindowsOn(HWND parent, const std::wstring& className) {
    std::vector<HWND> windows;
    const auto list = reinterpret_cast<LPARAM>(&windows);
    parent == nullptr ? EnumWindows(AddWindow, list) : EnumChildWindows(parent, AddWindow, list);
    std::erase_if(windows, [&](HWND window) {
        wchar_t name[100] = L"";
        GetClassNameW(window, name, 100);
        return lstrcmpiW(name, className.c_str()) != 0;
    });
    return windows;
}

int LeftEdge(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    return place.left;
}

}  // namespace

Box FindBox(DWORD processId) {
    Box box;
    box.window = FindWindowOf(processId, L"#32770");
    std::vector<HWND> buttons = WindowsOn(box.window, L"Button");
    std::erase_if(
        buttons, [](HWND button) { return (GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE) == 0; });
    // A box exists some time before it can be answered: its buttons come last.
    if (!box || buttons.empty() || !IsWindowVisible(box.window)) {
        return {};
    }
    std::ranges::sort(buttons, {}, LeftEdge);
    std::ranges::transform(buttons, std::back_inserter(box.buttons), GetDlgCtrlID);
    box.caption = WindowText(box.window);
    box.hasOwner = GetWindow(box.window, GW_OWNER) != nullptr;
    box.texts = LabelTexts(box.window);
    std::erase(box.texts, L"");
    return box;
}

Box WaitForBox(HANDLE process, DWORD bound) {
    Box box;
    WaitUntil([&] { return bool(box = FindBox(GetProcessId(process))); }, bound, process);
    return box;
}

bool PressButton(const Box& box, int button) {
    if (std::ranges::find(box.buttons, button) == box.buttons.end()) {
        return false;
    }
    PostMessageW(GetDlgItem(box.window, button), BM_CLICK, 0, 0);
    return WaitUntil([&] { return !IsWindow(box.window) || !IsWindowVisible(box.window); },
                     boxBound);
}

HWND FindWindowOf(DWORD processId, const std::wstring& className) {
    for (const HWND window : WindowsOn(nullptr, className)) {
        DWORD owner = ~0U;
        GetWindowThreadProcessId(window, &owner);
        if (processId == 0 ? owner != GetCurrentProcessId() : owner == processId) {
            return window;
        }
    }
    return nullptr;
}

HWND WaitForWindow(HANDLE process, const std::wstring& className, DWORD bound) {
    HWND window = nullptr;
    const DWORD processId = GetProcessId(process);
    WaitUntil([&] { return (window = FindWindowOf(processId, className)) != nullptr; }, bound,
              process);
    return window;
}

std::wstring WindowText(HWND window) {
    wchar_t text[1000] = L"";
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, 1000, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG,
                        2000, &length);
    return text;
}

std::vector<std::wstring> LabelTexts(HWND window) {
    std::vector<std::wstring> texts;
    std::ranges::transform(WindowsOn(window, L"Static"), std::back_inserter(texts), WindowText);
    return texts;
}
