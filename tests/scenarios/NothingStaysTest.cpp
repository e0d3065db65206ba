#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

// The whole machine before an install and after the uninstall.
class NothingStays : public Scenario {};

void AddFiles(State& state, const std::wstring& folder) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        const std::wstring name = entry.cFileName;
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (name == L"." || name == L"..") {
            continue;
        }
        const FILETIME time = entry.ftLastWriteTime;
        state[Narrow(folder + L"\\" + name)] =
            isFolder ? folderMark
                     : std::to_string(entry.nFileSizeLow) + " bytes of " +
                           std::to_string(time.dwHighDateTime) + "." +
                           std::to_string(time.dwLowDateTime);
        if (isFolder && !isLink) {
            AddFiles(state, folder + L"\\" + name);
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
}

void AddKeys(State& state, HKEY parent, const wchar_t* name, const std::string& place) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, name, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    state[place + "\\"] = "key";
    wchar_t entry[16384];
    DWORD length = 16384, type = 0, size = 0;
    for (DWORD i = 0;
         RegEnumValueW(key, i, entry, &length, nullptr, &type, nullptr, &size) == ERROR_SUCCESS;
         ++i, length = 16384) {
        std::string data(size, '\0');
        RegQueryValueExW(key, entry, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
        state[place + "\\" + Narrow(entry)] =
            std::to_string(size) + " bytes, " + std::to_string(std::hash<std::string>()(data));
    }
    for (DWORD i = 0; RegEnumKeyW(key, i, entry, 16384) == ERROR_SUCCESS; ++i) {
        AddKeys(state, key, entry, place + "\\" + Narrow(entry));
    }
    RegCloseKey(key);
}

State TakeMachine() {
    State state;
    AddFiles(state, L"C:");
    AddKeys(state, HKEY_CURRENT_USER, nullptr, "HKCU");
    AddKeys(state, HKEY_LOCAL_MACHINE, nullptr, "HKLM");
    return state;
}

// What this Wine writes by itself when a program goes to the network or pipes its output.
bool IsOfTheSystem(const std::string& line) {
    // The last one is the pin tool's own record.
    const char* const places[] = {"\\INetCache\\Content.IE5",
                                  "\\INetCookies\\index.dat",
                                  "\\Temp\\CMD",
                                  "\\Internet Settings\\ProxyEnable",
                                  "HKCU\\Software\\Wine\\Temporary System Parameters",
                                  "\\syspin.log"};
    return std::any_of(std::begin(places), std::end(places),
                       [&](const char* place) { return line.find(place) != std::string::npos; });
}

}  // namespace

TEST_F(NothingStays, AfterInstallAndUninstall) {
    // On Windows every user has it.
    const std::wstring key = GetPlaces().uninstallKey;
    RegSetKeyValueW(HKEY_CURRENT_USER, key.substr(0, key.rfind(L'\\')).c_str(), L"", REG_SZ, L"",
                    0);
    const State before = TakeMachine();
    EXPECT_GT(before.size(), 3000U);
    PublishVersion("1.2.3");
    ASSERT_EQ(RunSetup(L""), 0);
    EXPECT_STATE(StateAfterInstall("1.2.3"));
    EXPECT_EQ(SetupRun(SetupCall{.program = GetPlaces().uninstaller}).WaitForEnd(), 0);
    {
        OtherProgram copy(L"Quorvane.uninstall.exe");
        copy.Answer("TextConfirmUninstall", IDYES);
        copy.Answer("TextRemoved", IDOK);
        EXPECT_EQ(copy.WaitForEnd(), 0);
    }
    WaitUntilNoneRuns(L"cmd.exe");
    const std::string left = Differences(before, TakeMachine());
    printf("what an install and an uninstall leave on the machine:\n%s", left.c_str());
    std::istringstream lines(left);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(line.starts_with("        not ") || IsOfTheSystem(line)) << line;
    }
}
