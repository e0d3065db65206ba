#include "scenarios/MachineState.h"

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>
#include <stdint.h>
#include <wrl/client.h>

#include <algorithm>

#include "scenarios/Prepared.h"
#include "support/Scratch.h"

namespace {

using Microsoft::WRL::ComPtr;

bool IsPlainText(const std::string& content) {
    return content.size() <= 400 && std::all_of(content.begin(), content.end(), [](char c) {
               return static_cast<unsigned char>(c) >= ' ' || c == '\n';
           });
}

std::string Checksum(const std::string& content) {
    // FNV-1a with its published constants.
    uint64_t sum = 14695981039346656037ULL;
    for (const char c : content) {
        sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return std::to_string(content.size()) + " bytes, sum " + std::to_string(sum);
}

std::string ReadShortcut(const std::wstring& path) {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(link.GetAddressOf()))) ||
        FAILED(link->QueryInterface(IID_IPersistFile,
                                    reinterpret_cast<void**>(file.GetAddressOf()))) ||
        FAILED(file->Load(path.c_str(), STGM_READ))) {
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
    return DescribeShortcut(target, arguments, icon + (L"," + std::to_wstring(iconIndex)),
                            description, folder);
}

std::string DescribeValue(DWORD type, std::wstring data) {
    // The data are stored without a terminator; the system may add one.
    if (!data.empty() && data.back() == L'\0') {
        data.pop_back();
    }
    return (type == REG_SZ ? "" : "type " + std::to_string(type) + ": ") + Narrow(data);
}

void AddKey(State& state, const std::string& place, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    state[place] = "key";
    wchar_t name[100], data[400];
    DWORD nameLength = 100, type = 0, size = sizeof data;
    for (DWORD i = 0; RegEnumValueW(key, i, name, &nameLength, nullptr, &type,
                                    reinterpret_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
         ++i, nameLength = 100, size = sizeof data) {
        state[place + Narrow(name)] =
            DescribeValue(type, std::wstring(data, size / sizeof(wchar_t)));
    }
    RegCloseKey(key);
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
    return IsPlainText(content) ? content : Checksum(content);
}

std::string DescribeShortcut(const std::wstring& target, const std::wstring& arguments,
                             const std::wstring& icon, const std::wstring& description,
                             const std::wstring& workingFolder) {
    return Narrow(L"target " + target + L", arguments [" + arguments + L"], icon " + icon +
                  L", description " + description + L", folder " + workingFolder);
}

void AddTree(State& state, const std::string& place, const std::wstring& folder) {
    if ((GetFileAttributesW(folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        // A file that stands where a folder is expected.
        state[place.substr(0, place.size() - 1)] = DescribeFile(folder);
        return;
    }
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    state[place] = folderMark;
    do {
        const std::wstring name = entry.cFileName;
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (isFolder && name != L"." && name != L"..") {
            AddTree(state, place + Narrow(name) + "\\", folder + L"\\" + name);
        } else if (!isFolder) {
            state[place + Narrow(name)] = DescribeFile(folder + L"\\" + name);
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
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
        AddKey(state, product.mark + "entry\\", product.uninstallKey);
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
