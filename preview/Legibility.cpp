#include "preview/Legibility.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "kit/Files.h"

namespace {

// The frame of a push button on either side.
constexpr int buttonMargin = 1;
// From here on a line may be broken between any two characters: Chinese, Japanese, Korean.
constexpr wchar_t firstIdeograph = 0x2E80;

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(
        static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

int ClientWidth(HWND window) {
    RECT place{};
    GetClientRect(window, &place);
    return place.right;
}

RECT PlaceOnScreen(HWND window) {
    RECT place{};
    GetClientRect(window, &place);
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

// Of a child the width that neither the edge of its box nor that of the screen cuts off.
int VisibleWidth(HWND child) {
    const RECT place = PlaceOnScreen(child);
    const RECT box = PlaceOnScreen(GetParent(child));
    const RECT screen = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    RECT visible{};
    IntersectRect(&visible, &place, &box);
    IntersectRect(&visible, &visible, &screen);
    return visible.right - visible.left;
}

// Width of a text on one line in the window's own font.
int WidthIn(HWND window, const std::wstring& text, UINT format = 0) {
    const HDC dc = GetDC(window);
    const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(window, WM_GETFONT, 0, 0));
    const HGDIOBJ former = SelectObject(dc, font);
    RECT rectangle{};
    DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &rectangle,
              DT_CALCRECT | DT_SINGLELINE | format);
    SelectObject(dc, former);
    ReleaseDC(window, dc);
    return rectangle.right;
}

std::string Number(int value) {
    return std::to_string(value);
}

std::string TooWide(const std::string& what, const std::wstring& text, int width, int place) {
    return what + " \"" + Narrow(text) + "\" is " + Number(width) + " pixels wide, its place " +
           Number(place);
}

// Relative luminance of the guidelines, 0 to 1.
double Luminance(std::uint32_t pixel) {
    const auto linear = [](std::uint32_t channel) {
        const double value = (channel & 0xFF) / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(pixel >> 16) + 0.7152 * linear(pixel >> 8) + 0.0722 * linear(pixel);
}

// Where a centred text of this width stands on the main window.
RECT PlaceOfText(HWND label, int width) {
    RECT place = PlaceOnScreen(label);
    MapWindowPoints(nullptr, GetParent(label), reinterpret_cast<POINT*>(&place), 2);
    const LONG spare = place.right - place.left - width;
    if (spare > 0) {
        place.left += spare / 2;
        place.right = place.left + width;
    }
    return place;
}

std::vector<std::wstring> SplitUnbreakable(const std::wstring& text) {
    std::vector<std::wstring> words(1);
    for (const wchar_t character : text) {
        const bool stands = character >= firstIdeograph;
        if (character == L' ' || character == L'\n' || stands) {
            words.emplace_back();
        }
        if (character > L' ' && !stands) {
            words.back() += character;
        }
    }
    return words;
}

void CheckBoxText(HWND label, std::vector<std::string>& warnings) {
    for (const std::wstring& word : SplitUnbreakable(TextOf(label))) {
        const int width = WidthIn(label, word, DT_NOPREFIX);
        const int place = VisibleWidth(label);
        if (width > place) {
            warnings.push_back(TooWide("the word", word, width, place));
        }
    }
}

void CheckButton(HWND button, std::vector<std::string>& warnings) {
    const std::wstring text = TextOf(button);
    const int place = std::max(0, VisibleWidth(button) - 2 * buttonMargin);
    const int width = WidthIn(button, text);
    if (width > place) {
        warnings.push_back(TooWide("the button", text, width, place));
    }
}

BOOL CALLBACK CheckChild(HWND child, LPARAM parameter) {
    auto& warnings = *reinterpret_cast<std::vector<std::string>*>(parameter);
    wchar_t className[16] = L"";
    GetClassNameW(child, className, 16);
    if (!IsWindowVisible(child)) {
        return TRUE;
    }
    if (lstrcmpiW(className, L"Static") == 0) {
        CheckBoxText(child, warnings);
    } else if (lstrcmpiW(className, L"Button") == 0) {
        CheckButton(child, warnings);
    }
    return TRUE;
}

}  // namespace

double ContrastBehind(const Pixels& background, RECT rectangle) {
    const RECT whole = {0, 0, background.width, background.height};
    RECT inside{};
    IntersectRect(&inside, &rectangle, &whole);
    std::vector<double> luminances;
    for (LONG y = inside.top; y < inside.bottom; ++y) {
        for (LONG x = inside.left; x < inside.right; ++x) {
            luminances.push_back(Luminance(
                background.rows[static_cast<size_t>(y) * static_cast<size_t>(background.width) +
                                static_cast<size_t>(x)]));
        }
    }
    if (luminances.empty()) {
        return 21;
    }
    // A single dark speck hides no letter.
    const auto dark = luminances.begin() + static_cast<std::ptrdiff_t>(luminances.size() / 20);
    std::nth_element(luminances.begin(), dark, luminances.end());
    return (*dark + 0.05) / 0.05;
}

std::vector<std::string> CheckLabel(const Label& label, const Pixels& background) {
    std::vector<std::string> warnings;
    const std::wstring text = TextOf(label.window);
    const int width = WidthIn(label.window, text);
    const int place = ClientWidth(label.window);
    if (width > place) {
        warnings.push_back(TooWide(label.name, text, width, place));
    }
    if (text.find(L'&') != std::wstring::npos) {
        warnings.push_back(label.name + " \"" + Narrow(text) +
                           "\" holds \"&\", which a label shows as a line under the next letter");
    }
    const double contrast = ContrastBehind(background, PlaceOfText(label.window, width));
    if (contrast < leastContrast) {
        char number[16];
        std::snprintf(number, sizeof number, "%.1f", contrast);
        warnings.push_back("contrast of " + label.name + " against the picture is " + number +
                           ", it should be 4.5 or more");
    }
    return warnings;
}

std::vector<std::string> CheckBox(HWND box) {
    std::vector<std::string> warnings;
    EnumChildWindows(box, CheckChild, reinterpret_cast<LPARAM>(&warnings));
    return warnings;
}
