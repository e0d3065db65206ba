#include "support/Lingering.h"

#include <tlhelp32.h>

#include <gtest/gtest.h>

#include "support/Waiting.h"

namespace {

// Null when that process has started none.
HANDLE OpenChild(HANDLE parent) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    HANDLE child = nullptr;
    for (BOOL more = Process32FirstW(snapshot, &entry); more && child == nullptr;
         more = Process32NextW(snapshot, &entry)) {
        if (entry.th32ParentProcessID == GetProcessId(parent))
            child =
                OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, entry.th32ProcessID);
    }
    CloseHandle(snapshot);
    return child;
}

bool IsHeld(const std::wstring& path) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    CloseHandle(file);
    return file == INVALID_HANDLE_VALUE;
}

}  // namespace

Lingering::Lingering(const std::vector<std::wstring>& programs, const std::wstring& heldFile) {
    static int number = 0;
    const std::wstring name =
        L"linger." + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++number);
    end = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::wstring helper = std::wstring(own, wcsrchr(own, L'\\')) + L"\\linger.exe";
    std::wstring commandLine;
    for (const std::wstring& program : programs) {
        CreateDirectoryW(program.substr(0, program.rfind(L'\\')).c_str(), nullptr);
        EXPECT_TRUE(CopyFileW(helper.c_str(), program.c_str(), TRUE));
        commandLine += commandLine.empty() ? program + L" " + name : L" " + program;
    }
    commandLine += heldFile.empty() ? L"" : L" @" + heldFile;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION first{};
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &first));
    CloseHandle(first.hThread);
    for (HANDLE process = first.hProcess; processes.size() < programs.size();) {
        processes.push_back(process);
        EXPECT_TRUE(processes.size() == programs.size() ||
                    WaitUntil([&] { return (process = OpenChild(processes.back())) != nullptr; }))
            << "a helper did not start";
    }
    EXPECT_TRUE(heldFile.empty() || WaitUntil([&] { return IsHeld(heldFile); }));
}

Lingering::~Lingering() {
    End();
    for (const HANDLE process : processes) {
        EXPECT_EQ(WaitForSingleObject(process, 20000), WAIT_OBJECT_0);
        CloseHandle(process);
    }
    CloseHandle(end);
}

void Lingering::End() {
    SetEvent(end);
}

DWORD Lingering::ExitCode(std::size_t program) const {
    DWORD code = 0;
    GetExitCodeProcess(processes[program], &code);
    return code;
}

DWORD Lingering::Pid(std::size_t program) const {
    return GetProcessId(processes[program]);
}
