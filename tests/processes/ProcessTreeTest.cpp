#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "processes/ProcessControl.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

struct TreeCase {
    const char* title;
    /// "pid parent name" of each.
    const wchar_t* processes;
    const wchar_t* excludeName;
    /// Of "app.exe", sorted.
    const wchar_t* found;
};

const TreeCase treeCases[] = {
    {"a chain of one name", L"12 11 app.exe 10 1 App.EXE 11 10 app.exe", L"", L"10 11 12"},
    {"descendants of other names", L"10 1 app.exe 11 10 b.exe 12 11 c.exe 13 1 c.exe", L"",
     L"10 11 12"},
    {"the name again below another one", L"10 1 app.exe 11 10 b.exe 12 11 app.exe", L"",
     L"10 11 12"},
    {"whichever comes first", L"12 11 app.exe 11 10 b.exe 10 1 app.exe", L"", L"10 11 12"},
    {"whole names only", L"11 1 app 12 1 myapp.exe", L"", L""},
    {"a parent that is gone, and another top", L"10 77 app.exe 20 1 app.exe 21 20 app.exe", L"",
     L"10 20 21"},
    {"parents that refer to each other", L"10 12 app.exe 11 10 b.exe 12 11 c.exe", L"",
     L"10 11 12"},
    {"spared with all below", L"10 1 app.exe 11 10 Setup.EXE 12 11 c.exe 13 10 app.exe", L"setup",
     L"10 13"},
    {"spared by the name with extension", L"10 1 app.exe 11 10 setup.exe", L"setup.exe", L"10"},
    {"full stops in the name to spare", L"10 1 app.exe 11 10 set-1.2.3.exe", L"set-1.2.3", L"10"},
    {"full stops do not shorten it", L"10 1 app.exe 11 10 set-1.2.exe", L"set-1.2.3", L"10 11"},
    {"a short name to spare", L"10 1 app.exe 11 10 a", L"a", L"10"},
    {"a top is not spared", L"10 1 app.exe", L"app", L"10"},
    {"this process below", L"10 1 app.exe 99 10 b.exe 11 99 c.exe", L"", L"10"},
    {"this process on top", L"99 1 app.exe 11 99 app.exe 12 99 b.exe", L"", L"11"},
};

std::vector<ProcessRecord> ReadProcesses(const wchar_t* text) {
    std::wistringstream words(text);
    std::vector<ProcessRecord> processes;
    for (ProcessRecord process; words >> process.pid >> process.parentPid >> process.exeName;) {
        processes.push_back(process);
    }
    return processes;
}

}  // namespace

TEST(ProcessTree, FindsProcessesByNameWithTheirDescendants) {
    for (const TreeCase& test : treeCases) {
        SCOPED_TRACE(test.title);
        const ProcessTree tree(ReadProcesses(test.processes), 99);
        const LogCapture log;
        ProcessList list;
        tree.FindProcessesByName(L"app.exe", list, test.excludeName);
        std::multiset<std::wstring> pids;
        for (const ProcessRecord* record : list) {
            pids.insert(std::to_wstring(record->pid));
        }
        std::wstring found;
        for (const std::wstring& pid : pids) {
            found += (found.empty() ? L"" : L" ") + pid;
        }
        EXPECT_EQ(found, test.found);
        EXPECT_EQ(log.Count(L"INFO ProcessesUtils findChilds: entry\n"),
                  static_cast<int>(list.size()));
    }
}

TEST(DevicePathToDrivePath, TakesTheFirstLetterWhosePrefixMatches) {
    const std::wstring longName = L"\\Device\\" + std::wstring(50, L'x');
    const std::map<std::wstring, std::wstring> devices = {
        {L"C:", L"\\Device\\HarddiskVolume1"},
        {L"D:", L"\\Device\\HarddiskVolume10"},
        {L"E:", L"\\Device\\HarddiskVolume2"},
        {L"F:", L"\\Device\\HarddiskVolume2"},
        {L"G:", longName},
        {L"Z:", {L"\\Device\\First\0\\Device\\Second", 28}},
    };
    const std::pair<std::wstring, const wchar_t*> cases[] = {
        {L"\\Device\\HarddiskVolume1\\a\\b.exe", L"C:\\a\\b.exe"},
        {L"\\device\\HARDDISKvolume1\\B.exe", L"C:\\B.exe"},
        // Whatever stands behind the prefix.
        {L"\\Device\\HarddiskVolume10\\b.exe", L"C:0\\b.exe"},
        {L"\\Device\\HarddiskVolume2\\b.exe", L"E:\\b.exe"},
        {L"\\Device\\First\\b.exe", L"Z:\\b.exe"},
        {L"\\Device\\Second\\b.exe", nullptr},
        {longName + L"\\b.exe", nullptr},
        {L"\\Device\\Harddisk", nullptr},
    };
    // The system gives a list of strings that ends with an empty one.
    const auto find = [&](auto, LPCWSTR drive, LPWSTR target, DWORD limit) {
        const auto device = devices.find(drive);
        if (device == devices.end() || device->second.size() + 2 > limit) {
            return DWORD{0};
        }
        const std::wstring list = device->second + L'\0';
        std::copy_n(list.c_str(), list.size() + 1, target);
        return static_cast<DWORD>(list.size() + 1);
    };
    const auto query = Replace("kernel32.dll", "QueryDosDeviceW", QueryDosDeviceW, find);
    for (const auto& [device, expected] : cases) {
        std::wstring drivePath = L"untouched";
        EXPECT_EQ(DevicePathToDrivePath(device, drivePath), expected ? 1 : 0);
        EXPECT_EQ(drivePath, expected ? expected : L"untouched");
    }
}
