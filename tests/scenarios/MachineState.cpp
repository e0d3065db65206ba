#include "scenarios/MachineState.h"

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <functional>

#include "scenarios/Prepared.h"
#include "support/Scratch.h"

namespace {

using Microsoft::WRL::ComPtr;

std::string Checksum(const std::string& content) {
    return std::to_string(content.size()) + " bytes, hash " +
           std::to_string(std::hash<std::string>()(content));
}

std::string ReadShortcut(const std::wstring& path) {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(link.GetAddressOf()))) ||
        FAILED(link.As(&file)) || FAILED(file->Load(path.c_str(), STGM_READ))) {
        return "unreadable shortcut";
    }
    wchar_t target[MAX_PATH], arguments[MAX_PATH], icon[MAX_PATH], description[MAX_PATH],
        folder[MAX_PATH];
    int iconIndex = -1;
    link->GetPath(target, MAX_PATH, nullptr, SLGP_RAWPATH);
    link->GetArguments(arguments, MAX_PATH);
    link->GetIconLocation(icon, MAX_PATH, &iconIndex);
    link->GetDescription(description, MAX_PATH);
    link->GetWorkingDirectory(folder, MAX_PATH);
    return DescribeShortcut(target, icon + (L"," + std::to_wstring(iconIndex)), description, folder,
                            arguments);
}

std::string DescribeValue(DWORD type, const std::string& bytes) {
    if (type != REG_SZ) {
        return "type " + std::to_string(type) + ", " + Checksum(bytes);
    }
    // The text is stored without a terminator; the system may add one.
    std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
    if (text.ends_with(L'\0')) {
        text.pop_back();
    }
    return Narrow(text);
}

}  // namespace

std::string DescribeFile(const std::wstring& path) {
    if (path.ends_with(L".lnk")) {
        return ReadShortcut(path);
    }
    if (path.ends_with(L"-error-report.txt")) {
        return savedReport;
    }
    if (path.ends_with(L"starter.log")) {
        return sampleRecord;
    }
    const std::string content = ReadFileText(path);
    if (content.size() <= 400 &&
        std::ranges::all_of(content, [](BYTE c) { return c >= ' ' || c == '\n'; })) {
        return content;
    }
    return Checksum(content);
}

std::string DescribeShortcut(const std::wstring& target, const std::wstring& icon,
                             const std::wstring& description, const std::wstring& workingFolder,
                             const std::wstring& arguments) {
    return Narrow(L"target " + target + L", arguments [" + arguments + L"], icon " + icon +
                  L", description " + description + L", folder " + workingFolder);
}

std::vector<WIN32_FIND_DATAW> ListFolder(const std::wstring& folder) {
    std::vector<WIN32_FIND_DATAW> entries;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &entry)) {
        const std::wstring name = entry.cFileName;
        if (name != L"." && name != L"..") {
            entries.push_back(entry);
        }
    }
    FindClose(search);
    return entries;
}

void AddTree(State& state, const std::string& place, const std::wstring& folder) {
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        state[place.substr(0, place.size() - 1)] = DescribeFile(folder);
        return;
    }
    state[place] = folderMark;
    for (const WIN32_FIND_DATAW& entry : ListFolder(folder)) {
        AddTree(state, place + Narrow(entry.cFileName) + "\\", folder + L"\\" + entry.cFileName);
    }
}

void AddKeys(State& state, const std::string& place, HKEY parent, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    state[place] = "key";
    wchar_t name[16384];
    DWORD length = 16384, type = 0, size = 0;
    for (DWORD i = 0;
         RegEnumValueW(key, i, name, &length, nullptr, &type, nullptr, &size) == ERROR_SUCCESS;
         ++i, length = 16384) {
        std::string data(size, '\0');
        RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
        state[place + Narrow(name)] = DescribeValue(type, data);
    }
    for (DWORD i = 0; RegEnumKeyW(key, i, name, 16384) == ERROR_SUCCESS; ++i) {
        AddKeys(state, place + Narrow(name) + "\\", key, name);
    }
    RegCloseKey(key);
}

State TakeState() {
    CoInitialize(nullptr);
    State state;
    const Places& places = GetPlaces();
    AddTree(state, "menu\\", places.menu);
    AddTree(state, "temp\\", places.temp);
    for (const Places& product : GetAllPlaces()) {
        AddTree(state, product.mark + "app\\", product.app);
        AddTree(state, product.mark + "roaming\\", product.roaming);
        AddKeys(state, product.mark + "entry\\", HKEY_CURRENT_USER, product.uninstallKey);
    }
    // Always there; what they hold counts.
    state.erase("menu\\");
    state.erase("temp\\");
    CoUninitialize();
    return state;
}

std::string Differences(const State& expected, const State& actual) {
    std::string lines;
    for (const auto& [place, content] : expected) {
        const auto found = actual.find(place);
        if (found == actual.end()) {
            lines += "missing " + place + " = " + content + "\n";
        } else if (found->second != content) {
            lines += "differs " + place + " = " + found->second + "\n        not " + content + "\n";
        }
    }
    for (const auto& [place, content] : actual) {
        if (!expected.contains(place)) {
            lines += "extra   " + place + " = " + content + "\n";
        }
    }
    return lines;
}

void Drop(State& state, const std::string& place) {
    std::erase_if(state, [&](const auto& entry) { return entry.first.starts_with(place); });
}

State WithReport(State state) {
    state[savedReportPlace] = savedReport;
    return state;
}

void AddUnpacked(State& state) {
    AddTree(state, "temp\\Quorvane.TEMP\\", SampleFolder(L"full"));
}
