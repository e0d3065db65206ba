#include "support/BoxDriver.h"

#include <algorithm>

#include "support/Waiting.h"

namespace {

constexpr UINT answerBound = 2000;

std::wstring ClassName(HWND window) {
    wchar_t name[100] = L"";
    GetClassNameW(window, name, 100);
    return name;
}

struct WindowSearch {
    DWORD processId;
    std::wstring className;
    HWND found;
};

BOOL CALLBACK CompareWindow(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<WindowSearch*>(parameter);
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId != search.processId || ClassName(window) != search.className) {
        return TRUE;
    }
    search.found = window;
    return FALSE;
}

BOOL CALLBACK CollectChild(HWND window, LPARAM parameter) {
    reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(window);
    return TRUE;
}

std::vector<HWND> Children(HWND window, const wchar_t* className) {
    std::vector<HWND> children;
    EnumChildWindows(window, CollectChild, reinterpret_cast<LPARAM>(&children));
    std::erase_if(children, [className](HWND child) {
        return lstrcmpiW(ClassName(child).c_str(), className) != 0;
    });
    return children;
}

int LeftEdge(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    return place.left;
}

Box ReadBox(HWND window) {
    Box box;
    box.window = window;
    box.caption = WindowText(window);
    box.hasOwner = GetWindow(window, GW_OWNER) != nullptr;
    for (const HWND label : Children(window, L"Static")) {
        const std::wstring text = WindowText(label);
        if (!text.empty()) {
            box.texts.push_back(text);
        }
    }
    std::vector<HWND> buttons = Children(window, L"Button");
    std::erase_if(
        buttons, [](HWND button) { return (GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE) == 0; });
    std::sort(buttons.begin(), buttons.end(),
              [](HWND a, HWND b) { return LeftEdge(a) < LeftEdge(b); });
    for (const HWND button : buttons) {
        box.buttons.push_back(GetDlgCtrlID(button));
    }
    return box;
}

// A box exists some time before it can be answered: its buttons come last.
bool IsReady(const Box& box) {
    return !box.buttons.empty() && IsWindowVisible(box.window);
}

bool WaitUntilGone(HWND window) {
    return WaitUntil([window] { return !IsWindow(window) || !IsWindowVisible(window); }, boxBound);
}

}  // namespace

Box FindBox(DWORD processId) {
    const HWND window = FindWindowOf(processId, L"#32770");
    return window == nullptr ? Box() : ReadBox(window);
}

Box WaitForBox(HANDLE process, DWORD bound) {
    Box box;
    const DWORD processId = GetProcessId(process);
    const auto isThere = [&] {
        box = FindBox(processId);
        return box && IsReady(box);
    };
    return WaitUntil(isThere, bound, process) ? box : Box();
}

bool PressButton(const Box& box, int button) {
    const HWND window = GetDlgItem(box.window, button);
    if (window == nullptr ||
        std::find(box.buttons.begin(), box.buttons.end(), button) == box.buttons.end()) {
        return false;
    }
    PostMessageW(window, BM_CLICK, 0, 0);
    return WaitUntilGone(box.window);
}

bool CloseBox(const Box& box) {
    PostMessageW(box.window, WM_CLOSE, 0, 0);
    return WaitUntilGone(box.window);
}

HWND FindWindowOf(DWORD processId, const std::wstring& className) {
    WindowSearch search = {processId, className, nullptr};
    EnumWindows(CompareWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

HWND WaitForWindow(HANDLE process, const std::wstring& className, DWORD bound) {
    HWND window = nullptr;
    const DWORD processId = GetProcessId(process);
    const auto isThere = [&] {
        window = FindWindowOf(processId, className);
        return window != nullptr;
    };
    WaitUntil(isThere, bound, process);
    return window;
}

std::wstring WindowText(HWND window) {
    wchar_t text[1000] = L"";
    DWORD_PTR length = 0;
    if (SendMessageTimeoutW(window, WM_GETTEXT, 1000, reinterpret_cast<LPARAM>(text),
                            SMTO_ABORTIFHUNG, answerBound, &length) == 0) {
        return {};
    }
    return text;
}

std::vector<std::wstring> LabelTexts(HWND window) {
    std::vector<std::wstring> texts;
    for (const HWND label : Children(window, L"Static")) {
        texts.push_back(WindowText(label));
    }
    return texts;
}
