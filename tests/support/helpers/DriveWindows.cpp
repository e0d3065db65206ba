#include <windows.h>
#include <tlhelp32.h>

#include <cstdio>
#include <string>

#include "support/BoxDriver.h"
#include "support/Waiting.h"

// Drives the windows of a program from a script:
//
//   drive_windows EXE bar PERCENT     waits until the main window's bar is that long
//   drive_windows EXE box             waits for a box and prints its caption and texts
//   drive_windows EXE press ID        waits for a box and presses the button
//   drive_windows EXE close           asks the main window to close
//   drive_windows EXE end             waits until no process of that name runs
//   drive_windows hold PATH           holds a file or folder open until it is ended
//   drive_windows plain PROGRAM ...   starts a program without administrator rights, does not wait
//
// EXE is a file name. Exit code 0; 1 when a wait of 30 seconds was in vain; 2 for a wrong call.

namespace {

// Of the bar at full length, in pixels.
constexpr int fullBar = 319;

DWORD FindProcess(const std::wstring& exeName) {
    DWORD found = 0;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more;
         more = Process32NextW(snapshot, &entry)) {
        if (lstrcmpiW(entry.szExeFile, exeName.c_str()) == 0) {
            found = entry.th32ProcessID;
        }
    }
    CloseHandle(snapshot);
    return found;
}

HWND FindMainWindow(const std::wstring& exeName) {
    return FindWindowOf(FindProcess(exeName), L"QuorvaneInstallerWindow");
}

// The bar is the first label of the window and as wide as its picture.
bool BarReaches(const std::wstring& exeName, int percent) {
    const HWND window = FindMainWindow(exeName);
    const HWND bar = window ? GetWindow(window, GW_CHILD) : nullptr;
    RECT place{};
    return bar != nullptr && GetWindowRect(bar, &place) &&
           (place.right - place.left) * 100 >= fullBar * percent;
}

Box WaitForBoxOf(const std::wstring& exeName) {
    Box box;
    WaitUntil(
        [&] {
            const DWORD process = FindProcess(exeName);
            box = process == 0 ? Box() : FindBox(process);
            return box && !box.buttons.empty() && IsWindowVisible(box.window);
        },
        boxBound);
    return box;
}

int PrintBox(const Box& box) {
    if (!box) {
        return 1;
    }
    wprintf(L"%ls\n", box.caption.c_str());
    for (const std::wstring& text : box.texts) {
        wprintf(L"%ls\n", text.c_str());
    }
    return 0;
}

int Hold(const std::wstring& path) {
    const HANDLE handle =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return 1;
    }
    Sleep(INFINITE);
    return 0;
}

int StartPlain(int count, wchar_t** arguments) {
    std::wstring commandLine;
    for (int index = 0; index < count; ++index) {
        commandLine += std::wstring(L"\"") + arguments[index] + L"\" ";
    }
    // S-1-5-32-544, the group of administrators, counts for nothing but refusals.
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    SID_AND_ATTRIBUTES administrators{};
    AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0,
                             0, 0, 0, 0, 0, &administrators.Sid);
    HANDLE own = nullptr;
    HANDLE restricted = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    const bool isStarted =
        CreateRestrictedToken(own, 0, 1, &administrators, 0, nullptr, 0, nullptr, &restricted) &&
        CreateProcessAsUserW(restricted, nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0,
                             nullptr, nullptr, &startup, &process);
    return isStarted ? 0 : 1;
}

int Drive(const std::wstring& exeName, const std::wstring& action, const wchar_t* value) {
    if (action == L"bar" && value) {
        const int percent = _wtoi(value);
        return WaitUntil([&] { return BarReaches(exeName, percent); }, boxBound) ? 0 : 1;
    }
    if (action == L"box") {
        return PrintBox(WaitForBoxOf(exeName));
    }
    if (action == L"press" && value) {
        return PressButton(WaitForBoxOf(exeName), _wtoi(value)) ? 0 : 1;
    }
    if (action == L"close") {
        return PostMessageW(FindMainWindow(exeName), WM_CLOSE, 0, 0) ? 0 : 1;
    }
    if (action == L"end") {
        return WaitUntil([&] { return FindProcess(exeName) == 0; }, boxBound) ? 0 : 1;
    }
    return 2;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) {
        return 2;
    }
    const std::wstring first = argv[1];
    if (first == L"hold") {
        return Hold(argv[2]);
    }
    if (first == L"plain") {
        return StartPlain(argc - 2, argv + 2);
    }
    return Drive(first, argv[2], argc > 3 ? argv[3] : nullptr);
}
