#include "support/Lingering.h"

#include <tlhelp32.h>

#include <gtest/gtest.h>

#include "support/Waiting.h"

namespace {

// The process that runs this program; null when there is none.
HANDLE OpenByPath(const std::wstring& program) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    HANDLE found = nullptr;
    for (BOOL more = Process32FirstW(snapshot, &entry); more && found == nullptr;
         more = Process32NextW(snapshot, &entry)) {
        const HANDLE process =
            OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, entry.th32ProcessID);
        wchar_t path[MAX_PATH] = L"";
        DWORD length = MAX_PATH;
        QueryFullProcessImageNameW(process, 0, path, &length);
        if (program == path) {
            found = process;
        } else {
            CloseHandle(process);
        }
    }
    CloseHandle(snapshot);
    return found;
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
    const std::wstring helper = std::wstring(own).substr(0, std::wstring(own).rfind(L'\\'));
    std::wstring commandLine;
    for (const std::wstring& program : programs) {
        CreateDirectoryW(program.substr(0, program.rfind(L'\\')).c_str(), nullptr);
        EXPECT_TRUE(CopyFileW((helper + L"\\linger.exe").c_str(), program.c_str(), TRUE));
        commandLine += commandLine.empty() ? program + L" " + name : L" " + program;
    }
    commandLine += heldFile.empty() ? L"" : L" @" + heldFile;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &process));
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    for (const std::wstring& program : programs) {
        HANDLE opened = nullptr;
        EXPECT_TRUE(WaitUntil([&] { return (opened = OpenByPath(program)) != nullptr; }))
            << "a helper did not start";
        processes.push_back(opened);
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
