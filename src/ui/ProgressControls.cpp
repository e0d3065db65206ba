#include "ui/ProgressControls.h"

#include "resources/ResourceIds.h"
#include "resources/WindowLayout.h"

namespace {

HWND CreateStatic(HWND window, HINSTANCE instance, DWORD style, const RECT& place) {
    return CreateWindowExW(0, L"STATIC", nullptr, WS_CHILD | WS_VISIBLE | style, place.left,
                           place.top, place.right - place.left, place.bottom - place.top, window,
                           nullptr, instance, nullptr);
}

HWND CreateLabel(HWND window, HINSTANCE instance, int top, int width, int height, int fontHeight) {
    const HWND label = CreateStatic(window, instance, SS_CENTER, {0, top, width, top + height});
    // No face name: the system's default face has the letters of the user's language.
    const HFONT font = CreateFontW(fontHeight, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                   DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                   DEFAULT_QUALITY, DEFAULT_PITCH, nullptr);
    SendMessageW(label, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    return label;
}

void ShowBarPicture(const ProgressControls& controls) {
    SendMessageW(controls.barControl, STM_SETIMAGE, IMAGE_BITMAP,
                 reinterpret_cast<LPARAM>(controls.barBitmap));
}

}  // namespace

ProgressControls CreateProgressControls(HWND window, HINSTANCE instance, int windowWidth) {
    ProgressControls controls;
    controls.barBitmap = LoadBitmapW(instance, MAKEINTRESOURCEW(IDB_BAR));
    controls.barControl =
        CreateStatic(window, instance, SS_BITMAP, {barLeft, barTop, barLeft, barTop + barHeight});
    ShowBarPicture(controls);
    controls.titleLabel =
        CreateLabel(window, instance, titleTop, windowWidth, titleHeight, titleFontHeight);
    controls.statusLabel =
        CreateLabel(window, instance, statusTop, windowWidth, statusHeight, statusFontHeight);
    return controls;
}

void DrawBar(ProgressControls& controls, int width) {
    controls.barBitmap = static_cast<HBITMAP>(
        CopyImage(controls.barBitmap, IMAGE_BITMAP, width, barHeight, LR_COPYDELETEORG));
    ShowBarPicture(controls);
    InvalidateRect(controls.barControl, nullptr, TRUE);
}

int BarWidth(int position, int rangeMin, int rangeMax) {
    return position * barFullWidth / (rangeMax - rangeMin);
}
