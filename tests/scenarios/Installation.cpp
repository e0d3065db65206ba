#include "scenarios/Installation.h"

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>
#include <tlhelp32.h>
#include <wrl/client.h>

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "scenarios/Prepared.h"
#include "support/Scratch.h"

namespace {

using Microsoft::WRL::ComPtr;

struct RunningProgram {
    DWORD processId;
    std::wstring path;
};

std::wstring ImagePath(DWORD processId) {
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    wchar_t path[MAX_PATH] = L"";
    DWORD length = MAX_PATH;
    QueryFullProcessImageNameW(process, 0, path, &length);
    CloseHandle(process);
    return path;
}

std::vector<RunningProgram> ListPrograms() {
    std::vector<RunningProgram> programs;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more;
         more = Process32NextW(snapshot, &entry)) {
        programs.push_back({entry.th32ProcessID, ImagePath(entry.th32ProcessID)});
    }
    CloseHandle(snapshot);
    return programs;
}

bool IsBelow(const std::wstring& path, const std::wstring& folder) {
    return path.size() > folder.size() && path[folder.size()] == L'\\' &&
           _wcsnicmp(path.c_str(), folder.c_str(), folder.size()) == 0;
}

bool IsOfScenario(const RunningProgram& program) {
    const std::vector<Places>& products = GetAllPlaces();
    return program.processId != GetCurrentProcessId() &&
           (IsBelow(program.path, GetPlaces().temp) ||
            IsBelow(program.path, GetPrepared().folder) ||
            std::any_of(products.begin(), products.end(),
                        [&](const Places& product) { return IsBelow(program.path, product.app); }));
}

void EndProgram(DWORD processId) {
    const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, processId);
    if (process == nullptr) {
        return;
    }
    TerminateProcess(process, 1);
    EXPECT_EQ(WaitForSingleObject(process, 10000), WAIT_OBJECT_0) << "a program does not end";
    CloseHandle(process);
}

void WriteEntry(const std::wstring& version) {
    const std::pair<const wchar_t*, std::wstring> values[] = {
        {L"DisplayName", L"Quorvane"},
        {L"DisplayVersion", version},
        {L"DisplayIcon", GetPlaces().uninstaller},
        {L"UninstallString", GetPlaces().uninstaller},
        {L"Publisher", L"Brontavia"},
    };
    for (const auto& [name, text] : values) {
        RegSetKeyValueW(HKEY_CURRENT_USER, GetPlaces().uninstallKey.c_str(), name, REG_SZ,
                        text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
}

void WriteShortcut() {
    const Places& places = GetPlaces();
    CoInitialize(nullptr);
    {
        ComPtr<IShellLinkW> link;
        ComPtr<IPersistFile> file;
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                         reinterpret_cast<void**>(link.GetAddressOf()));
        link->SetPath(places.starter.c_str());
        link->SetIconLocation(places.uninstaller.c_str(), 0);
        link->SetDescription(L"Quorvanelink");
        link->SetWorkingDirectory(places.app.c_str());
        link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(file.GetAddressOf()));
        EXPECT_HRESULT_SUCCEEDED(file->Save(places.shortcut.c_str(), TRUE));
    }
    CoUninitialize();
}

}  // namespace

State InstalledState(const std::string& version, const std::wstring& sample, const Places& places) {
    const std::string app = places.mark + "app\\", entry = places.mark + "entry\\";
    const std::string versionFolder = app + version + "\\";
    State state;
    state[app] = folderMark;
    AddTree(state, versionFolder, SampleFolder(sample));
    for (const std::string& program :
         {Narrow(places.name) + "Starter.exe", std::string("uninstall.exe")}) {
        if (state.contains(versionFolder + program)) {
            state[app + program] = state[versionFolder + program];
        }
    }
    state[app + "version"] = version;
    state[entry] = "key";
    state[entry + "DisplayName"] = Narrow(places.name);
    state[entry + "DisplayVersion"] = version;
    state[entry + "DisplayIcon"] = Narrow(places.uninstaller);
    state[entry + "UninstallString"] = Narrow(places.uninstaller);
    state[entry + "Publisher"] = "Brontavia";
    state["menu\\" + Narrow(places.name) + ".lnk"] = DescribeShortcut(
        places.starter, L"", places.uninstaller + L",0", places.name + L"link", places.app);
    return state;
}

State StateAfterInstall(const std::string& version, const std::wstring& sample,
                        const Places& places) {
    State state = InstalledState(version, sample, places);
    state[places.mark + "roaming\\"] = folderMark;
    state[places.mark + "roaming\\starter.log"] = sampleRecord;
    state["temp\\syspin.log"] = Narrow(L"\"" + places.app + L"\\" + Widen(version) +
                                       L"\\syspin.exe\" \"" + places.shortcut + L"\" c:5386\n");
    return state;
}

void CopyTree(const std::wstring& from, const std::wstring& to) {
    CreateDirectoryW(to.c_str(), nullptr);
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((from + L"\\*").c_str(), &entry);
    ASSERT_NE(search, INVALID_HANDLE_VALUE) << "no folder " << Narrow(from);
    do {
        const std::wstring name = entry.cFileName;
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (isFolder && name != L"." && name != L"..") {
            CopyTree(from + L"\\" + name, to + L"\\" + name);
        } else if (!isFolder) {
            CopyFileW((from + L"\\" + name).c_str(), (to + L"\\" + name).c_str(), FALSE);
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
}

void PutInstallation(const std::string& version, const std::wstring& sample) {
    const Places& places = GetPlaces();
    const std::wstring source = SampleFolder(sample);
    WriteFileText(places.versionFile, version);
    CopyTree(source, places.app + L"\\" + Widen(version));
    CopyFileW((source + L"\\QuorvaneStarter.exe").c_str(), places.starter.c_str(), FALSE);
    CopyFileW((source + L"\\uninstall.exe").c_str(), places.uninstaller.c_str(), FALSE);
    WriteEntry(Widen(version));
    WriteShortcut();
    ASSERT_EQ(Differences(InstalledState(version, sample), TakeState()), "");
}

std::vector<std::string> StarterCalls() {
    std::vector<std::string> calls;
    const std::wstring record = GetPlaces().roaming + L"\\starter.log";
    std::istringstream lines(Exists(record) ? ReadFileText(record) : "");
    for (std::string line; std::getline(lines, line);) {
        calls.push_back(line);
    }
    return calls;
}

std::vector<std::wstring> RunningPrograms(const std::wstring& exeName) {
    std::vector<std::wstring> paths;
    for (const RunningProgram& program : ListPrograms()) {
        if (_wcsicmp(program.path.substr(program.path.rfind(L'\\') + 1).c_str(), exeName.c_str()) ==
            0) {
            paths.push_back(program.path);
        }
    }
    return paths;
}

std::vector<DWORD> ProcessesOf(const Places& places) {
    std::vector<DWORD> ids;
    for (const RunningProgram& program : ListPrograms()) {
        if (IsBelow(program.path, places.app)) {
            ids.push_back(program.processId);
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

std::vector<std::wstring> FiveProcessesOf(const std::wstring& version) {
    return std::vector<std::wstring>(5, GetPlaces().app + L"\\" + version + L"\\" + appExeName);
}

void EndPrograms() {
    for (const RunningProgram& program : ListPrograms()) {
        if (IsOfScenario(program)) {
            EndProgram(program.processId);
        }
    }
}

void WipeMachine() {
    EndPrograms();
    const Places& places = GetPlaces();
    std::vector<std::wstring> folders = {places.temp, places.menu};
    for (const Places& product : GetAllPlaces()) {
        folders.insert(folders.end(), {product.app, product.roaming});
        RegDeleteTreeW(HKEY_CURRENT_USER, product.uninstallKey.c_str());
    }
    for (const std::wstring& folder : folders) {
        DeleteFileW(folder.c_str());
        RemoveTree(folder);
    }
    CreateDirectoryW(places.temp.c_str(), nullptr);
    CreateDirectoryW(places.menu.c_str(), nullptr);
    ASSERT_EQ(Differences({}, TakeState()), "");
}
