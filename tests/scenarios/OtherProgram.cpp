#include "scenarios/OtherProgram.h"

#include <winternl.h>

#include <gtest/gtest.h>

#include "scenarios/Installation.h"
#include "scenarios/Prepared.h"
#include "support/Waiting.h"

OtherProgram::OtherProgram(const std::wstring& exeName, DWORD except) {
    EXPECT_TRUE(WaitUntil([&] {
        for (const RunningProgram& program : ListPrograms(exeName)) {
            if (program.processId != except) {
                processId = program.processId;
                process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId);
            }
        }
        return process != nullptr;
    })) << "no other "
        << Narrow(exeName) << " runs";
}

std::wstring OtherProgram::CommandLine() const {
    std::wstring line;
    // A process is listed before it has written down how it was called.
    EXPECT_TRUE(WaitUntil([&] { return !(line = ReadCommandLine()).empty(); }))
        << "no command line";
    return line;
}

std::wstring OtherProgram::ReadCommandLine() const {
    // 32-bit: the PEB holds the address of the parameters at offset 16, those the command line's
    // counted string at offset 64.
    PROCESS_BASIC_INFORMATION basic{};
    NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr);
    const auto read = [this](DWORD_PTR address, void* target, SIZE_T size) {
        return ReadProcessMemory(process, reinterpret_cast<void*>(address), target, size, nullptr);
    };
    DWORD parameters = 0;
    UNICODE_STRING text{};
    if (!read(reinterpret_cast<DWORD_PTR>(basic.PebBaseAddress) + 16, &parameters, 4) ||
        !read(parameters + 64, &text, sizeof text)) {
        return {};
    }
    std::wstring line(text.Length / sizeof(wchar_t), L'\0');
    read(reinterpret_cast<DWORD_PTR>(text.Buffer), line.data(), text.Length);
    return line;
}

bool OtherProgram::HasHandleOf(DWORD otherId) const {
    // Handles are multiples of four, the first ones low.
    for (ULONG_PTR value = 4; value < 0x1000; value += 4) {
        HANDLE copy = nullptr;
        if (DuplicateHandle(process, reinterpret_cast<HANDLE>(value), GetCurrentProcess(), &copy,
                            PROCESS_QUERY_LIMITED_INFORMATION, FALSE, 0)) {
            const DWORD found = GetProcessId(copy);
            CloseHandle(copy);
            if (found == otherId) {
                return true;
            }
        }
    }
    return false;
}

void WaitUntilNoneRuns(const std::wstring& exeName) {
    EXPECT_TRUE(WaitUntil([&] { return RunningPrograms(exeName).empty(); }))
        << Narrow(exeName) << " still runs";
}
