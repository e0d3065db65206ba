#include "processes/OpenedFiles.h"

#include <string.h>

#include <algorithm>

#include "base/OwnPath.h"
#include "base/PathBuffers.h"
#include "processes/OpenedFileLines.h"
#include "processes/OpenedHandles.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

// The system's table of handles.
std::vector<SystemHandleEntry> table;

LONG WINAPI Query(ULONG informationClass, BYTE* buffer, ULONG length, ULONG* needed) {
    const DWORD count = static_cast<DWORD>(table.size());
    *needed = 4 + count * sizeof table[0];
    if (informationClass != 16 || length < *needed + 1024)
        return static_cast<LONG>(0xC0000004);
    memcpy(buffer, &count, 4);
    std::ranges::copy(table, reinterpret_cast<SystemHandleEntry*>(buffer + 4));
    return 0;
}

DWORD WINAPI StandStill(void* event) {
    SetEvent(event);
    Sleep(INFINITE);
    return 0;
}

// To this program the system is one of 32 bit.
const auto find = [](auto real, HMODULE library, LPCSTR name) {
    return name == std::string("NtQuerySystemInformation") ? AsProc(&Query)
           : name == std::string("IsWow64Process")         ? nullptr
                                                           : real(library, name);
};

}  // namespace

TEST(OpenedFiles, IncludeModulesOnASystemOf32Bit) {
    processCache = {{1, {L"of an earlier listing", L""}}};
    const auto functions = Replace(GetProcAddress, find);
    const std::wstring own = OwnPath(), module = L") [module " + ToLowerCase(own) + L"]\n";
    EXPECT_TRUE(GetOpenedFilesListing(PathForm(GetShortPathNameW, own))
                    .ends_with(L" processes_test.exe (" + own + module));
    EXPECT_EQ(processCache.count(1), 0u);
}

TEST(OpenedFiles, AreListedBelowTheFolderWhateverGoesWrong) {
    const ScratchFolder scratch;
    const std::wstring folder = scratch / L"a long name\\", app = folder + L"app";
    const DWORD own = GetCurrentProcessId();
    // Set once by the thread that hangs; resets itself.
    const HANDLE hung = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::vector<HANDLE> handles = {hung};
    for (const wchar_t* name : {L"other\\c", L"app\\A", L"App.bkp\\b"}) {
        WriteFileText(folder + name, "");
        handles.push_back(CreateFileW((folder + name).c_str(), GENERIC_READ, 7, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    }
    for (const auto& [owner, index] :
         {std::pair(own, 0), {own, 1}, {own, 2}, {0x7FFFFFF0, 3}, {4, 2}})
        table.push_back({owner, 0, 0, static_cast<WORD>(HandleToULong(handles[index])), 0, 0});
    processCache = {{own, {L"Me.exe", L"X:\\Me.exe"}}};
    const std::wstring a = L"[" + std::to_wstring(own) + L"] Me.exe (X:\\Me.exe) [app\\a]|";
    const std::wstring b = L"[2147483632] Unknown Process () [app.bkp\\b]|";
    const std::wstring c = L"[4] System () [app\\a]|";
    const struct {
        /// Of the questions for a name: "." is answered, "h" hangs, "k" does so
        /// behind a use of the heap, "l" has a long name, "L" one
        /// that is too long; "s" is answered by a second thread, the first one not having begun,
        /// "S" by none, "E" has no event. At the end "~": the folder is given in its short form.
        std::string plan;
        std::wstring listing;
        int hangs;
    } rows[] = {{"....", a + b + c, 0}, {"..h.", a + c, 1},     {"...h", a + b, 1},
                {"..k.", a + c, 1},     {"s...", a + b + c, 1}, {"l.l.", a + b + c, 0},
                {"..L.", a + c, 0},     {"S", L"", 10},         {"....~", a + b + c, 0},
                {"E", L"", 0}};
    for (const auto& [plan, listing, hangs] : rows) {
        SCOPED_TRACE(plan);
        int asked = -1, made = 0;
        const auto ask = [&](auto real, auto file, auto path, DWORD limit, auto flags) {
            const char behaviour = plan[asked += limit == MAX_PATH];
            if (behaviour == 'k') {
                HeapLock(GetProcessHeap());
                SetEvent(hung);
                Sleep(50);
                HeapUnlock(GetProcessHeap());
                Sleep(INFINITE);
            }
            if (behaviour == 'h')
                StandStill(hung);
            const bool fits = behaviour != 'L' && (behaviour != 'l' || limit != MAX_PATH);
            return fits ? real(file, path, limit, flags) : limit;
        };
        const auto make = [&](auto real, auto security, auto size, auto run, void* query,
                              auto... rest) {
            const HANDLE request = static_cast<HandleQuery*>(query)->requestEvent;
            EXPECT_EQ(WaitForSingleObject(request, 0), DWORD{WAIT_TIMEOUT}) << "left behind";
            const bool begins = ++made > (plan[0] == 'S' ? 20 : plan[0] == 's' ? 1 : 0);
            return begins ? real(security, size, run, query, rest...)
                          : real(security, size, StandStill, hung, rest...);
        };
        // On a busy machine a mere 100 ms would pass for a hang.
        const auto wait = [&](auto real, HANDLE object, DWORD timeout) {
            const HANDLE either[] = {object, hung};
            return timeout == 2000 ? DWORD{WAIT_TIMEOUT}
                   : timeout != 100
                       ? real(object, timeout)
                       : WaitForMultipleObjects(2, either, FALSE, 20000) * WAIT_TIMEOUT;
        };
        const Replaced replaced[] = {
            Replace(GetProcAddress, find), Replace(GetFinalPathNameByHandleW, ask),
            Replace(CreateThread, make), Replace(WaitForSingleObject, wait),
            plan == "E" ? Failing(CreateEventW, nullptr) : nullptr};
        const LogCapture log;
        std::wstring found;
        EnumerateOpenedFiles(
            ToLowerCase(plan.back() == '~' ? PathForm(GetShortPathNameW, app) : app), found);
        for (std::size_t at; (at = found.find(ToLowerCase(folder))) != found.npos;)
            found.erase(at, folder.size());
        std::ranges::replace(found, L'\n', L'|');
        EXPECT_EQ(found, listing);
        EXPECT_EQ(log.Count(L"created thread hang, recreate thread\n"), hangs);
    }
    // The walk holds no file, and has closed none of the others' handles.
    for (const HANDLE handle : handles)
        EXPECT_TRUE(CloseHandle(handle));
    const HeldOpen alone(folder + L"app\\A");
}
