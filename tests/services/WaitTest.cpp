// The two bounded waits of services/Launch.h.
#include "services/Launch.h"

#include <gtest/gtest.h>

#include "processes/ProcessControl.h"
#include "startup/PathBuffers.h"
#include "support/Replace.h"
#include "support/Scratch.h"
#include "support/SetPath.h"

namespace {

// What the wait slept, "100*49 400*1"; `comes` happens in the pause with the number `inPause`.
template <typename Wait, typename Coming>
std::string Slept(Wait wait, int inPause, Coming comes) {
    std::vector<std::pair<DWORD, int>> groups;
    int number = 0;
    const Replaced pauses = Replace("kernel32.dll", "Sleep", Sleep, [&](auto, DWORD length) {
        if (groups.empty() || groups.back().first != length) {
            groups.push_back({length, 0});
        }
        ++groups.back().second;
        if (++number == inPause) {
            comes();
        }
    });
    wait();
    std::string text;
    for (const auto& [length, count] : groups) {
        text += std::to_string(length) + "*" + std::to_string(count) + " ";
    }
    return text;
}

}  // namespace

TEST(WaitForAppOpen, WaitsForFiveProcesses) {
    const ScratchFolder scratch;
    const std::wstring name = L"Counted" + std::to_wstring(GetCurrentProcessId()) + L".exe";
    ASSERT_TRUE(CopyFileW(L"C:\\windows\\timeout.exe", (scratch / name).c_str(), FALSE));
    const auto start = [&] { ExecuteApp((scratch / name).c_str(), L"/t 60", 0, false); };
    const auto wait = [&] { WaitForAppOpen(name.c_str()); };
    for (int count = 0; count < 4; ++count) {
        start();
    }
    const LogCapture log;
    EXPECT_EQ(Slept(wait, 0, start), "100*50 400*1 ");
    EXPECT_TRUE(log.Has(L"WARN Utils WaitForAppOpen: Timeout!\nINFO Utils WaitForAppOpen: Done\n"));
    EXPECT_EQ(Slept(wait, 3, start), "100*3 400*1 ");
    EXPECT_EQ(Slept(wait, 0, start), "400*1 ");
    EXPECT_EQ(log.Count(L"Timeout"), 1);
    KillAllProcessesByNameOrPath(name, L"", L"");
}

TEST(WaitForFileAppear, WaitsForTheMarker) {
    const ScratchFolder scratch;
    const std::wstring marker = scratch / L"uninstall_end";
    SetPath(uninstallEndPath, marker);
    const auto appear = [&] { WriteFileText(marker, ""); };
    const auto expectSlept = [&](int inPause, const char* expected, const wchar_t* timeoutLine) {
        const LogCapture log;
        EXPECT_EQ(Slept(WaitForFileAppear, inPause, appear), expected);
        EXPECT_EQ(log.Lines(), L"INFO Utils WaitForFileAppear: " + marker + L"\n" + timeoutLine +
                                   L"INFO Utils WaitForFileAppear: Done\n");
    };
    expectSlept(0, "100*100 ", L"WARN Utils WaitForFileAppear: Timeout!\n");
    expectSlept(99, "100*99 ", L"");
    expectSlept(0, "", L"");
}
