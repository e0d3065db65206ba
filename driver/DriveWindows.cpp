#include <windows.h>
#include <tlhelp32.h>

#include <cstdio>
#include <string>

#include "driver/BoxDriver.h"
#include "driver/Waiting.h"

// Drives the windows of a program from a script:
//
//   drive_windows EXE bar PERCENT     waits until the main window's bar is that long
//   drive_windows EXE box             waits for a box and prints its caption and texts
//   drive_windows EXE press ID        waits for a box and presses the button
//   drive_windows EXE close           asks the main window to close
//   drive_windows EXE end             waits until no process of that name runs
//   drive_windows hold PATH ...       holds files, unshared, and folders open until it is ended
//   drive_windows plain PROGRAM ...   starts a program without administrator rights, does not wait
//
// EXE is a file name. Exit code 0; 1 when a wait of 30 seconds was in vain; 2 for a wrong call.

namespace {

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

// The bar is the first label of the window and as wide as its picture, at most 319 pixels.
bool BarReaches(const std::wstring& exeName, int percent) {
    const HWND bar = GetWindow(FindMainWindow(exeName), GW_CHILD);
    RECT place{};
    return GetWindowRect(bar, &place) && (place.right - place.left) * 100 >= 319 * percent;
}

Box WaitForBoxOf(const std::wstring& exeName) {
    Box box;
    WaitUntil([&] { return bool(box = FindBox(FindProcess(exeName))); }, boxBound);
    return box;
}

bool PrintBox(const Box& box) {
    _putws(box.caption.c_str());
    for (const std::wstring& text : box.texts) {
        _putws(text.c_str());
    }
    return bool(box);
}

bool Hold(int count, wchar_t** paths) {
    for (int index = 0; index < count; ++index) {
        const bool isFolder = GetFileAttributesW(paths[index]) & FILE_ATTRIBUTE_DIRECTORY;
        // cppcheck-suppress leakReturnValNotUsed ; held until this process is ended
        if (CreateFileW(paths[index], GENERIC_READ,
                        isFolder ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0, nullptr, OPEN_EXISTING,
                        FILE_FLAG_BACKUP_SEMANTICS, nullptr) == INVALID_HANDLE_VALUE) {
            return false;
        }
    }
    Sleep(INFINITE);
    return true;
}

bool StartPlain(int count, wchar_t** arguments) {
    std::wstring commandLine;
    for (int index = 0; index < count; ++index) {
        commandLine += std::wstring(L"\"") + arguments[index] + L"\" ";
    }
    // The group of administrators counts for nothing but refusals.
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size);
    SID_AND_ATTRIBUTES administrators = {sid, 0};
    HANDLE own = nullptr;
    HANDLE restricted = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    return CreateRestrictedToken(own, 0, 1, &administrators, 0, nullptr, 0, nullptr, &restricted) &&
           CreateProcessAsUserW(restricted, nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0,
                                nullptr, nullptr, &startup, &process);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) {
        return 2;
    }
    const std::wstring exeName = argv[1], action = argv[2];
    const int number = argc > 3 ? _wtoi(argv[3]) : -1;
    bool done = false;
    if (exeName == L"hold") {
        done = Hold(argc - 2, argv + 2);
    } else if (exeName == L"plain") {
        done = StartPlain(argc - 2, argv + 2);
    } else if (action == L"bar" && number >= 0) {
        done = WaitUntil([&] { return BarReaches(exeName, number); }, boxBound);
    } else if (action == L"box") {
        done = PrintBox(WaitForBoxOf(exeName));
    } else if (action == L"press" && number >= 0) {
        done = PressButton(WaitForBoxOf(exeName), number);
    } else if (action == L"close") {
        done = PostMessageW(FindMainWindow(exeName), WM_CLOSE, 0, 0);
    } else if (action == L"end") {
        done = WaitUntil([&] { return FindProcess(exeName) == 0; }, boxBound);
    } else {
        return 2;
    }
    return done ? 0 : 1;
}
