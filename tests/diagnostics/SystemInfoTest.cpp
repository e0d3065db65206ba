#include "diagnostics/SystemInfo.h"

#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <array>

#include "operations/UninstallEntry.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

namespace {

// The system that the patched call describes: major, minor, service pack.
std::array<DWORD, 3> systemVersion;
FARPROC realGetProcAddress;
std::string missingFunction;
int failingFolder;

BOOL WINAPI CompareWithSystem(LPOSVERSIONINFOEXW wanted, DWORD mask, DWORDLONG conditions) {
    DWORDLONG expected = 0;
    for (const DWORD field : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR}) {
        expected = VerSetConditionMask(expected, field, VER_GREATER_EQUAL);
    }
    EXPECT_EQ(mask, 0x23u);
    EXPECT_EQ(conditions, expected);
    return systemVersion >= std::array<DWORD, 3>{wanted->dwMajorVersion, wanted->dwMinorVersion,
                                                 wanted->wServicePackMajor};
}

FARPROC WINAPI WithoutFunction(HMODULE module, LPCSTR name) {
    const auto real = reinterpret_cast<decltype(&GetProcAddress)>(realGetProcAddress);
    return name == missingFunction ? nullptr : real(module, name);
}

HRESULT WINAPI FolderUnlessFailing(HWND, int csidl, HANDLE, DWORD, LPWSTR path) {
    lstrcpyW(path, csidl == CSIDL_APPDATA ? L"R:\\roaming" : L"L:\\local");
    return csidl == failingFolder ? E_FAIL : S_OK;
}

// As the system does with a path that is longer than the buffer.
DWORD WINAPI CutModule(HMODULE, LPWSTR path, DWORD size) {
    wmemset(path, L'p', size - 1);
    path[size - 1] = L'\0';
    return size;
}

}  // namespace

TEST(GetOsInfo, FindsTheHighestVersionThatHolds) {
    OSVERSIONINFOEXW version{};
    reinterpret_cast<LONG(WINAPI*)(OSVERSIONINFOEXW*)>(
        GetProcAddress(GetModuleHandleW(L"ntdll"), "RtlGetVersion"))(&version);
    EXPECT_EQ(GetOsInfo(), L"windows " + std::to_wstring(version.dwMajorVersion) + L"." +
                               std::to_wstring(version.dwMinorVersion) + L"." +
                               std::to_wstring(version.wServicePackMajor) + L" 64-bit");
    const ImportPatch lookUp("kernel32.dll", "GetProcAddress", AsProc(&WithoutFunction));
    realGetProcAddress = lookUp.original;
    missingFunction = "IsWow64Process";
    const ImportPatch compare("kernel32.dll", "VerifyVersionInfoW", AsProc(&CompareWithSystem));
    const struct {
        std::array<DWORD, 3> system;
        const wchar_t* text;
    } cases[] = {{{6, 1, 1}, L"windows 6.1.1 32-bit"},
                 {{5, 2, 9}, L"windows 5.2.5 32-bit"},
                 {{12, 10, 5}, L"windows 12.10.5 32-bit"},
                 {{13, 0, 0}, L"windows 12.10.5 32-bit"},
                 {{0, 0, 0}, L"windows 0.0.0 32-bit"}};
    for (const auto& row : cases) {
        systemVersion = row.system;
        EXPECT_EQ(GetOsInfo(), row.text);
    }
}

TEST(SystemInfo, TellsProcessorAndMemory) {
    SYSTEM_INFO system{};
    GetNativeSystemInfo(&system);
    EXPECT_EQ(GetCpuInfo(), L"num of cpu: " + std::to_wstring(system.dwNumberOfProcessors) +
                                L", arch: " + std::to_wstring(system.wProcessorArchitecture) +
                                L", level; " + std::to_wstring(system.wProcessorLevel) +
                                L", revision: " + std::to_wstring(system.wProcessorRevision));
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    GlobalMemoryStatusEx(&memory);
    const std::wstring total = L"total: " + std::to_wstring(memory.ullTotalPhys) + L", free: ";
    EXPECT_EQ(GetMemoryInfo().find(total), 0u);
    EXPECT_GT(wcstoull(GetMemoryInfo().c_str() + total.size(), nullptr, 10), 1u << 20);
    const FailingCall none("kernel32.dll", "GlobalMemoryStatusEx", &GlobalMemoryStatusEx, FALSE);
    EXPECT_EQ(GetMemoryInfo(), L"");
}

TEST(SystemInfo, LeavesOutThePathsThatCannotBeFound) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    const ImportPatch folders("shell32.dll", "SHGetFolderPathW", AsProc(&FolderUnlessFailing));
    const std::wstring tempLine = L"\n      TEMP: " + scratch.path + L"\\";
    const std::wstring roaming = L"\n      APPDATA: R:\\roaming";
    const std::wstring local = L"\n      LOCALAPPDATA: L:\\local";
    failingFolder = 0;
    EXPECT_EQ(GetEnvironmentInfo(), tempLine + roaming + local);
    failingFolder = CSIDL_APPDATA;
    EXPECT_EQ(GetEnvironmentInfo(), tempLine + local);
    wchar_t path[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, path);
    EXPECT_EQ(GetCurrentDirectoryText(), path);
    failingFolder = CSIDL_LOCAL_APPDATA;
    for (const DWORD length : {0, 300}) {
        const FailingCall temp("kernel32.dll", "GetTempPathW", &GetTempPathW, length);
        EXPECT_EQ(GetEnvironmentInfo(), roaming);
        const FailingCall current("kernel32.dll", "GetCurrentDirectoryW", &GetCurrentDirectoryW,
                                  length);
        EXPECT_EQ(GetCurrentDirectoryText(), L"");
    }
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    EXPECT_EQ(GetExecutablePath(), path);
    const ImportPatch cut("kernel32.dll", "GetModuleFileNameW", AsProc(&CutModule));
    EXPECT_EQ(GetExecutablePath(), std::wstring(255, L'p'));
    const FailingCall none("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
    EXPECT_EQ(GetExecutablePath(), L"");
}

// The notes stay for the life of the process: one test walks through all of it.
TEST(GetVersionsInfo, PrefersWhatTheOperationNoted) {
    constexpr wchar_t guid[] = L"{TEST}";
    const std::wstring installer = L", installer ver: 7.8.9.10";
    const RedirectedRegistry registry;
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: " + installer);
    WriteUninstallEntry(guid, L"1.2.3", L"u", L"n");
    EXPECT_EQ(GetVersionsInfo(L"{OTHER}"), L"lm ver: " + installer);
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 1.2.3" + installer);
    WriteUninstallEntry(guid, L"9.9.9", L"u", L"n");
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 1.2.3" + installer) << "asked only once";
    SetReportNewVersion(L"2.0.0");
    SetReportOldVersion(L"1.2.2");
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 2.0.0 old lm: 1.2.2" + installer);

    const ImportPatch lookUp("kernel32.dll", "GetProcAddress", AsProc(&WithoutFunction));
    realGetProcAddress = lookUp.original;
    for (const char* name : {"GetFileVersionInfoSizeW", "GetFileVersionInfoW", "VerQueryValueW"}) {
        missingFunction = name;
        EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 2.0.0 old lm: 1.2.2") << name;
    }
    missingFunction.clear();
    const FailingCall none("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 2.0.0 old lm: 1.2.2");
}
