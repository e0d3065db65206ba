// The starter of the sample product, <Name>Starter.exe: the program through which the application
// is started, asked to close, and told of the uninstall. It lies in the install folder, beside a
// file "version" with the name of the folder that holds the application, or, as it comes out of
// the archive, beside the application.
#include <windows.h>
#include <shellapi.h>
#include <string>

#include "Identity.h"
#include "Record.h"

namespace {

struct Installation {
    std::wstring folder;
    std::wstring appPath;
};

std::wstring ReadVersion(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return {};
    }
    char text[64];
    DWORD got = 0;
    if (!ReadFile(file, text, sizeof text, &got, nullptr)) {
        got = 0;
    }
    CloseHandle(file);
    return std::wstring(text, text + got);
}

Installation FindInstallation(const Identity& identity) {
    const std::wstring version = ReadVersion(identity.folder + L"\\version");
    const std::wstring exe = L"\\" + identity.name + L".exe";
    if (version.empty()) {
        return {GetParentFolder(identity.folder), identity.folder + exe};
    }
    return {identity.folder, identity.folder + L'\\' + version + exe};
}

bool HasFlag(const wchar_t* flag) {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    bool found = false;
    for (int i = 1; arguments && i < count; ++i) {
        found = found || lstrcmpW(arguments[i], flag) == 0;
    }
    LocalFree(arguments);
    return found;
}

// The command line as it was given, less the program's own name.
std::wstring GetArgumentText() {
    const std::wstring line = GetCommandLineW();
    const bool isQuoted = line.starts_with(L'"');
    const std::size_t end = line.find_first_of(isQuoted ? L"\"" : L" \t", isQuoted ? 1 : 0);
    const std::size_t begin =
        end == std::wstring::npos ? end : line.find_first_not_of(L" \t", end + 1);
    return begin == std::wstring::npos ? std::wstring() : line.substr(begin);
}

void AskAppToClose(const Installation& installation) {
    const HANDLE event =
        OpenEventW(EVENT_MODIFY_STATE, FALSE, GetCloseEventName(installation.folder).c_str());
    if (!event) {
        return;
    }
    SetEvent(event);
    CloseHandle(event);
}

// The application's part of the uninstall; the marker tells the uninstaller that it is done.
int Uninstall(const Identity& identity, const Installation& installation) {
    AskAppToClose(installation);
    if (HasBehaviour(identity, L"silent")) {
        return 0;
    }
    const HANDLE marker = CreateFileW((installation.folder + L"\\uninstall_end").c_str(),
                                      GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (marker == INVALID_HANDLE_VALUE) {
        return static_cast<int>(GetLastError());
    }
    CloseHandle(marker);
    return 0;
}

int StartApp(const Installation& installation) {
    std::wstring line = L"\"" + installation.appPath + L"\" " + GetArgumentText();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        GetParentFolder(installation.appPath).c_str(), &startup, &process)) {
        return static_cast<int>(GetLastError());
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return 0;
}

}  // namespace

/// Ends with 0 or the system's error code, and never waits for the application.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
    const Identity identity = GetIdentity(L"Starter.exe");
    CreateDirectoryW(identity.roamingFolder.c_str(), nullptr);
    RecordStart(identity.roamingFolder + L"\\starter.log");
    const Installation installation = FindInstallation(identity);
    if (HasFlag(L"--kill-app")) {
        AskAppToClose(installation);
        return 0;
    }
    if (HasFlag(L"--uninstall-app")) {
        return Uninstall(identity, installation);
    }
    return StartApp(installation);
}
