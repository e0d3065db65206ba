#include "diagnostics/SystemInfo.h"

#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <array>

#include "operations/UninstallEntry.h"
#include "support/FailingCall.h"
#include "support/Replace.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

TEST(GetOsInfo, FindsTheHighestVersionThatHolds) {
    // Major, minor, service pack.
    using Version = std::array<DWORD, 3>;
    Version system;
    DWORDLONG allAtLeast = 0;
    for (const DWORD field : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR}) {
        allAtLeast = VerSetConditionMask(allAtLeast, field, VER_GREATER_EQUAL);
    }
    const auto compare = [&](auto, OSVERSIONINFOEXW* wanted, DWORD mask, DWORDLONG conditions) {
        EXPECT_TRUE(mask == 0x23 && conditions == allAtLeast);
        return system >=
               Version{wanted->dwMajorVersion, wanted->dwMinorVersion, wanted->wServicePackMajor};
    };
    const Replaced comparison =
        Replace("kernel32.dll", "VerifyVersionInfoW", VerifyVersionInfoW, compare);
    const FailingCall noBitness("kernel32.dll", "GetProcAddress", &GetProcAddress, nullptr);
    const std::pair<Version, const wchar_t*> cases[] = {{{6, 1, 1}, L"windows 6.1.1 32-bit"},
                                                        {{5, 2, 9}, L"windows 5.2.5 32-bit"},
                                                        {{13, 0, 0}, L"windows 12.10.5 32-bit"},
                                                        {{0, 0, 0}, L"windows 0.0.0 32-bit"}};
    for (const auto& [version, text] : cases) {
        system = version;
        EXPECT_EQ(GetOsInfo(), text);
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
}

TEST(SystemInfo, LeavesOutThePathsThatCannotBeFound) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    int failingFolder = 0;
    const Replaced folders =
        Replace("shell32.dll", "SHGetFolderPathW", SHGetFolderPathW,
                [&](auto, HWND, int folder, HANDLE, DWORD, LPWSTR path) {
                    lstrcpyW(path, folder == CSIDL_APPDATA ? L"R:\\roaming" : L"L:\\local");
                    return folder == failingFolder ? E_FAIL : S_OK;
                });
    const std::wstring tempLine = L"\n      TEMP: " + scratch.path + L"\\";
    const std::wstring roaming = L"\n      APPDATA: R:\\roaming";
    const std::wstring local = L"\n      LOCALAPPDATA: L:\\local";
    EXPECT_EQ(GetEnvironmentInfo(), tempLine + roaming + local);
    failingFolder = CSIDL_APPDATA;
    EXPECT_EQ(GetEnvironmentInfo(), tempLine + local);
    for (const DWORD length : {0, 300}) {
        const FailingCall noTemp("kernel32.dll", "GetTempPathW", &GetTempPathW, length);
        EXPECT_EQ(GetEnvironmentInfo(), local);
        const FailingCall noCurrent("kernel32.dll", "GetCurrentDirectoryW", &GetCurrentDirectoryW,
                                    length);
        EXPECT_EQ(GetCurrentDirectoryText(), L"");
    }
    {
        // As the system does with a path that is longer than the buffer.
        const Replaced cut = Replace("kernel32.dll", "GetModuleFileNameW", GetModuleFileNameW,
                                     [](auto, HMODULE, LPWSTR path, DWORD size) {
                                         wmemset(path, L'p', size - 1);
                                         path[size - 1] = L'\0';
                                         return size;
                                     });
        EXPECT_EQ(GetExecutablePath(), std::wstring(255, L'p'));
    }
    const FailingCall none("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
    EXPECT_EQ(GetExecutablePath(), L"");
}

// The notes stay for the life of the process: one test walks through all of it.
TEST(GetVersionsInfo, PrefersWhatTheOperationNoted) {
    constexpr wchar_t guid[] = L"{TEST}";
    const RedirectedRegistry registry;
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: ");
    WriteUninstallEntry(guid, L"1.2.3", L"u", L"n");
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 1.2.3");
    WriteUninstallEntry(guid, L"9.9.9", L"u", L"n");
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 1.2.3") << "asked only once";
    SetReportNewVersion(L"2.0.0");
    SetReportOldVersion(L"1.2.2");
    EXPECT_EQ(GetVersionsInfo(guid), L"lm ver: 2.0.0 old lm: 1.2.2");
}
