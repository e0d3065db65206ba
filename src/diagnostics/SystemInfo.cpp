#include "diagnostics/SystemInfo.h"

#include <windows.h>
#include <shlobj.h>
#include <strsafe.h>

#include <vector>

#include "base/Bitness.h"
#include "base/DecimalText.h"
#include "base/SystemLibrary.h"
#include "base/TempFolder.h"
#include "services/UninstallEntry.h"

namespace {

std::wstring& reportNewVersion = *new std::wstring;
std::wstring& reportOldVersion = *new std::wstring;

bool IsAtLeast(DWORD major, DWORD minor, WORD servicePack) {
    OSVERSIONINFOEXW wanted{};
    wanted.dwOSVersionInfoSize = sizeof wanted;
    wanted.dwMajorVersion = major;
    wanted.dwMinorVersion = minor;
    wanted.wServicePackMajor = servicePack;
    ULONGLONG conditions = 0;
    conditions = VerSetConditionMask(conditions, VER_MAJORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                              conditions) != FALSE;
}

// The call that simply tells the version lies to programs; the comparing one answers truly to a
// program whose manifest names the system.
std::wstring FindOsVersion() {
    for (int major = 12; major >= 0; --major) {
        for (int minor = 10; minor >= 0; --minor) {
            for (int servicePack = 5; servicePack >= 0; --servicePack) {
                if (IsAtLeast(major, minor, static_cast<WORD>(servicePack))) {
                    wchar_t text[10];
                    return SUCCEEDED(
                               StringCchPrintfW(text, 10, L"%i.%i.%i", major, minor, servicePack))
                               ? text
                               : L"";
                }
            }
        }
    }
    return {};
}

// "ProductVersion" of the executable's version block, empty when there is none.
std::wstring GetInstallerVersion() {
    const auto getSize =
        SystemFunction(L"version.dll", "GetFileVersionInfoSizeW", &GetFileVersionInfoSizeW);
    const auto getInfo =
        SystemFunction(L"version.dll", "GetFileVersionInfoW", &GetFileVersionInfoW);
    const auto query = SystemFunction(L"version.dll", "VerQueryValueW", &VerQueryValueW);
    const std::wstring path = GetExecutablePath();
    if (!getSize || !getInfo || !query || path.empty()) {
        return {};
    }
    DWORD unused = 0;
    std::vector<BYTE> block(getSize(path.c_str(), &unused));
    if (block.empty() ||
        !getInfo(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data())) {
        return {};
    }
    void* value = nullptr;
    UINT length = 0;
    if (!query(block.data(), L"\\StringFileInfo\\041904b0\\ProductVersion", &value, &length)) {
        return {};
    }
    return static_cast<const wchar_t*>(value);
}

std::wstring FolderLine(const wchar_t* name, int csidl) {
    wchar_t folder[MAX_PATH];
    if (FAILED(SHGetFolderPathW(nullptr, csidl, nullptr, 0, folder))) {
        return {};
    }
    return std::wstring(L"\n      ") + name + L": " + folder;
}

}  // namespace

std::wstring GetOsInfo() {
    return L"windows " + FindOsVersion() + (Is64BitSystem() ? L" 64-bit" : L" 32-bit");
}

std::wstring GetCpuInfo() {
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    wchar_t text[128];
    return SUCCEEDED(StringCchPrintfW(
               text, 128, L"num of cpu: %u, arch: %u, level; %u, revision: %u",
               static_cast<unsigned>(info.dwNumberOfProcessors), info.wProcessorArchitecture,
               info.wProcessorLevel, info.wProcessorRevision))
               ? text
               : L"";
}

std::wstring GetMemoryInfo() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status)) {
        return {};
    }
    return L"total: " + DecimalText(status.ullTotalPhys) + L", free: " +
           DecimalText(status.ullAvailPhys);
}

std::wstring GetVersionsInfo(const wchar_t* appGuid) {
    wchar_t installed[installedVersionLength];
    if (reportNewVersion.empty() && ReadInstalledVersion(appGuid, installed) >= 0) {
        reportNewVersion = installed;
    }
    std::wstring text = L"lm ver: " + reportNewVersion + reportOldVersion;
    const std::wstring installer = GetInstallerVersion();
    if (!installer.empty()) {
        text += L", installer ver: " + installer;
    }
    return text;
}

std::wstring GetEnvironmentInfo() {
    std::wstring text;
    wchar_t temp[MAX_PATH];
    if (GetTempFolder(temp)) {
        text += std::wstring(L"\n      TEMP: ") + temp;
    }
    text += FolderLine(L"APPDATA", CSIDL_APPDATA);
    text += FolderLine(L"LOCALAPPDATA", CSIDL_LOCAL_APPDATA);
    return text;
}

std::wstring GetExecutablePath() {
    wchar_t path[256];
    // A path that does not fit comes cut, with a terminator.
    return GetModuleFileNameW(nullptr, path, 256) == 0 ? std::wstring() : std::wstring(path);
}

std::wstring GetCurrentDirectoryText() {
    wchar_t path[MAX_PATH];
    const DWORD length = GetCurrentDirectoryW(MAX_PATH, path);
    return length > 0 && length < MAX_PATH ? std::wstring(path, length) : std::wstring();
}

void SetReportNewVersion(const std::wstring& text) {
    reportNewVersion = text;
}

void SetReportOldVersion(const std::wstring& text) {
    reportOldVersion = L" old lm: " + text;
}
