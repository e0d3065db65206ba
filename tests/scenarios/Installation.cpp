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

std::wstring ImagePath(DWORD processId) {
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    wchar_t path[MAX_PATH] = L"";
    DWORD length = MAX_PATH;
    QueryFullProcessImageNameW(process, 0, path, &length);
    CloseHandle(process);
    return path;
}

bool IsBelow(const std::wstring& path, const std::wstring& folder) {
    return path.size() > folder.size() && path[folder.size()] == L'\\' &&
           _wcsnicmp(path.c_str(), folder.c_str(), folder.size()) == 0;
}

void WriteShortcut() {
    const Places& places = GetPlaces();
    CoInitialize(nullptr);
    {
        ComPtr<IShellLinkW> link;
        ComPtr<IPersistFile> file;
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                         IID_PPV_ARGS(link.GetAddressOf()));
        link->SetPath(places.starter.c_str());
        link->SetIconLocation(places.uninstaller.c_str(), 0);
        link->SetDescription(L"Quorvanelink");
        link->SetWorkingDirectory(places.app.c_str());
        link.As(&file);
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
        places.starter, places.uninstaller + L",0", places.name + L"link", places.app);
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
    ASSERT_TRUE(Exists(from)) << "no folder " << Narrow(from);
    CreateDirectoryW(to.c_str(), nullptr);
    for (const WIN32_FIND_DATAW& entry : ListFolder(from)) {
        const std::wstring source = from + L"\\" + entry.cFileName;
        const std::wstring target = to + L"\\" + entry.cFileName;
        if (IsFolder(entry)) {
            CopyTree(source, target);
        } else {
            CopyFileW(source.c_str(), target.c_str(), FALSE);
        }
    }
}

void PutInstallation(const std::string& version, const std::wstring& sample) {
    const Places& places = GetPlaces();
    const State installed = InstalledState(version, sample);
    const std::wstring source = SampleFolder(sample);
    WriteFileText(places.versionFile, version);
    CopyTree(source, places.app + L"\\" + Widen(version));
    CopyFileW((source + L"\\QuorvaneStarter.exe").c_str(), places.starter.c_str(), FALSE);
    CopyFileW((source + L"\\uninstall.exe").c_str(), places.uninstaller.c_str(), FALSE);
    for (const auto& [place, content] : installed) {
        if (place.starts_with("entry\\") && place != "entry\\") {
            const std::wstring text = Widen(content);
            RegSetKeyValueW(HKEY_CURRENT_USER, places.uninstallKey.c_str(),
                            Widen(place.substr(6)).c_str(), REG_SZ, text.c_str(),
                            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
        }
    }
    WriteShortcut();
    ASSERT_EQ(Differences(installed, TakeState()), "");
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

std::vector<RunningProgram> ListPrograms(const std::wstring& exeName) {
    std::vector<RunningProgram> programs;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more;
         more = Process32NextW(snapshot, &entry)) {
        if (exeName.empty() || lstrcmpiW(entry.szExeFile, exeName.c_str()) == 0) {
            programs.push_back({entry.th32ProcessID, ImagePath(entry.th32ProcessID)});
        }
    }
    CloseHandle(snapshot);
    return programs;
}

std::vector<std::wstring> RunningPrograms(const std::wstring& exeName) {
    std::vector<std::wstring> paths;
    for (const RunningProgram& program : ListPrograms(exeName)) {
        paths.push_back(program.path);
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
    std::vector<std::wstring> folders = {GetPlaces().temp, GetPrepared().folder};
    for (const Places& product : GetAllPlaces()) {
        folders.push_back(product.app);
    }
    // Again while there were some, since they may have started others meanwhile.
    bool wereSome = true;
    for (int round = 0; wereSome && round < 10; ++round) {
        wereSome = false;
        for (const RunningProgram& program : ListPrograms()) {
            const bool isOfScenario = std::ranges::any_of(
                folders, [&](const std::wstring& folder) { return IsBelow(program.path, folder); });
            if (!isOfScenario || program.processId == GetCurrentProcessId()) {
                continue;
            }
            wereSome = true;
            const HANDLE process =
                OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, program.processId);
            TerminateProcess(process, 1);
            if (process != nullptr) {
                EXPECT_EQ(WaitForSingleObject(process, 10000), WAIT_OBJECT_0) << "it does not end";
            }
            CloseHandle(process);
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
