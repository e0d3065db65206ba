#include "preview/TakePictures.h"

#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <utility>

#include "base/GlobalVars.h"
#include "kit/Files.h"
#include "operations/Progress.h"
#include "preview/Capture.h"
#include "preview/Legibility.h"
#include "preview/Scenes.h"
#include "ui/BackgroundImage.h"
#include "ui/DialogAsking.h"
#include "ui/MainWindow.h"
#include "ui/ProgressControls.h"
#include "ui/Texts.h"

namespace {

constexpr UINT lookPeriod = 10;
constexpr ULONGLONG longestWait = 10000;

// Where the play stands. A timer without a window looks at it from whatever message loop runs, that
// of the program's window or that of a box.
struct Play {
    const Scene* scene;
    size_t shot;
    bool isPrepared;
    ULONGLONG deadline;
    std::wstring folder;
    Pixels background;
    std::vector<Picture>* pictures;
    std::string failure;
};
Play play{};

BOOL CALLBACK NoteBox(HWND window, LPARAM parameter) {
    wchar_t className[16] = L"";
    GetClassNameW(window, className, 16);
    if (lstrcmpW(className, L"#32770") != 0 || !IsWindowVisible(window)) {
        return TRUE;
    }
    *reinterpret_cast<HWND*>(parameter) = window;
    return FALSE;
}

HWND FindBox() {
    HWND box = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), NoteBox, reinterpret_cast<LPARAM>(&box));
    return box;
}

// The main window's controls, in the order in which they were made.
struct Controls {
    HWND bar;
    HWND title;
    HWND status;
};

Controls FindControls() {
    Controls controls{};
    controls.bar = FindWindowExW(mainWindowHandle, nullptr, L"STATIC", nullptr);
    controls.title = FindWindowExW(mainWindowHandle, controls.bar, L"STATIC", nullptr);
    controls.status = FindWindowExW(mainWindowHandle, controls.title, L"STATIC", nullptr);
    return controls;
}

bool ShowsText(HWND label, int row) {
    wchar_t text[1024] = L"";
    GetWindowTextW(label, text, 1024);
    return lstrcmpW(text, GetString(row)) == 0;
}

// The window follows the progress object at its own pace.
bool HasFollowed(const Shot& shot) {
    const Controls controls = FindControls();
    RECT bar{};
    GetClientRect(controls.bar, &bar);
    return ShowsText(controls.title, shot.textRows[0]) &&
           ShowsText(controls.status, shot.textRows[1]) &&
           bar.right ==
               BarWidth(progressObject.position, progressObject.rangeMin, progressObject.rangeMax);
}

void Prepare(const Shot& shot) {
    progressObject.stage = shot.stage;
    progressObject.SetPercent(shot.percent);
    if (shot.isBox && mainWindowHandle != nullptr) {
        AskToCancel();
    }
    play.isPrepared = true;
    play.deadline = GetTickCount64() + longestWait;
}

std::vector<std::string> FindWarnings(const Shot& shot, HWND window) {
    if (shot.isBox) {
        return CheckBox(window);
    }
    const Controls controls = FindControls();
    std::vector<std::string> warnings = CheckLabel({controls.title, "title"}, play.background);
    for (std::string& warning : CheckLabel({controls.status, "status"}, play.background)) {
        warnings.push_back(std::move(warning));
    }
    return warnings;
}

void Take(const Shot& shot, HWND window) {
    const std::string file = std::string(shot.name) + ".png";
    const Pixels pixels = CaptureWindow(window);
    if (pixels.rows.empty() || IsOneColour(pixels)) {
        play.failure = std::string(shot.name) + ": nothing is to be seen";
    } else if (const std::string png = EncodePng(pixels, false);
               png.empty() || WriteWholeFile(play.folder + L"\\" + Widen(file), png) != 0) {
        play.failure = file + " cannot be written";
    }
    Picture picture{
        shot.name, shot.title, file, pixels.width, pixels.height, {}, FindWarnings(shot, window)};
    for (const int row : shot.textRows) {
        picture.texts.push_back(Narrow(GetString(row)));
    }
    play.pictures->push_back(std::move(picture));
}

// Answers a task dialog or a message box; each knows one of the two ways only.
void CloseBox(HWND box) {
    SendMessageW(box, TDM_CLICK_BUTTON, IDCANCEL, 0);
    EndDialog(box, IDCANCEL);
}

void Leave(const Shot& shot, HWND window) {
    if (shot.isBox) {
        CloseBox(window);
    }
    ++play.shot;
    play.isPrepared = false;
    const bool isLast = play.shot == play.scene->shots.size();
    if ((isLast || !play.failure.empty()) && mainWindowHandle != nullptr) {
        DestroyWindow(mainWindowHandle);
    }
}

void CALLBACK Look(HWND, UINT, UINT_PTR, DWORD) {
    if (play.shot == play.scene->shots.size() || !play.failure.empty()) {
        return;
    }
    const Shot& shot = play.scene->shots[play.shot];
    if (!play.isPrepared) {
        Prepare(shot);
        return;
    }
    const HWND window = shot.isBox ? FindBox() : mainWindowHandle;
    if (window != nullptr && (shot.isBox || HasFollowed(shot))) {
        Take(shot, window);
        Leave(shot, window);
    } else if (GetTickCount64() > play.deadline) {
        // Something else holds the message loop: there is no way back through it.
        std::fprintf(stderr, "preview: %s does not come up\n", shot.name);
        ExitProcess(1);
    }
}

}  // namespace

std::string TakePictures(const std::wstring& folder, std::vector<Picture>& pictures) {
    play.folder = folder;
    play.pictures = &pictures;
    play.background = ReadBitmap(LoadBackgroundBitmap());
    const UINT_PTR timer = SetTimer(nullptr, 0, lookPeriod, Look);
    for (const Scene& scene : AllScenes()) {
        play.scene = &scene;
        play.shot = 0;
        play.isPrepared = false;
        mainWindowHandle = nullptr;
        scene.show();
        UnregisterClassW(globalVars.windowClassName.c_str(), globalVars.hInstance);
        if (play.failure.empty() && play.shot != scene.shots.size()) {
            play.failure = std::string(scene.shots[play.shot].name) + " did not come up";
        }
        if (!play.failure.empty()) {
            break;
        }
    }
    KillTimer(nullptr, timer);
    return play.failure;
}
