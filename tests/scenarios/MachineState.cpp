#include "scenarios/MachineState.h"

#include <objbase.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include <gtest/gtest.h>

#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using Microsoft::WRL::ComPtr;

ComPtr<IShellLinkW> NewShortcut(ComPtr<IPersistFile>& file) {
    static const HRESULT ready = CoInitialize(nullptr);
    ComPtr<IShellLinkW> link;
    EXPECT_HRESULT_SUCCEEDED(ready);
    CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&link));
    link.As(&file);
    return link;
}

std::string Checksum(const std::string& content) {
    return std::to_string(content.size()) + " bytes, hash " +
           std::to_string(std::hash<std::string>()(content));
}

std::string ReadShortcut(const std::wstring& path) {
    ComPtr<IPersistFile> file;
    const ComPtr<IShellLinkW> link = NewShortcut(file);
    if (FAILED(file->Load(path.c_str(), STGM_READ))) {
        return "unreadable shortcut";
    }
    wchar_t target[MAX_PATH], arguments[MAX_PATH], icon[MAX_PATH], description[MAX_PATH],
        folder[MAX_PATH];
    int iconIndex = -1;
    LPITEMIDLIST place = nullptr;
    link->GetIDList(&place);
    SHGetPathFromIDListW(place, target);
    CoTaskMemFree(place);
    link->GetArguments(arguments, MAX_PATH);
    link->GetIconLocation(icon, MAX_PATH, &iconIndex);
    link->GetDescription(description, MAX_PATH);
    link->GetWorkingDirectory(folder, MAX_PATH);
    return Narrow(std::wstring(L"target ") + target + L", arguments [" + arguments + L"], icon " +
                  icon + L"," + std::to_wstring(iconIndex) + L", description " + description +
                  L", folder " + folder);
}

void WriteShortcut(const std::wstring& path, const Places& places) {
    ComPtr<IPersistFile> file;
    const ComPtr<IShellLinkW> link = NewShortcut(file);
    link->SetPath(PathOf("starter", places).c_str());
    link->SetIconLocation(PathOf("uninstaller", places).c_str(), 0);
    link->SetDescription(Widen(places.name + "link").c_str());
    link->SetWorkingDirectory(PathOf("app", places).c_str());
    EXPECT_HRESULT_SUCCEEDED(file->Save(path.c_str(), TRUE));
}

std::string DescribeFile(const std::wstring& path) {
    if (path.ends_with(L".lnk")) {
        return ReadShortcut(path);
    }
    if (path.ends_with(L"-error-report.txt")) {
        return savedReport;
    }
    if (path.ends_with(L"starter.log") || path.ends_with(L"syspin.log")) {
        return sampleRecord;
    }
    const std::string content = ReadFileText(path);
    const auto isReadable = [](BYTE c) { return c >= ' ' || c == '\n'; };
    return content.size() <= 400 && std::ranges::all_of(content, isReadable) ? content
                                                                             : Checksum(content);
}

// The folder itself too; nothing when it is missing.
void AddTree(State& state, const std::string& place, const std::wstring& folder) {
    if (fs::is_directory(folder)) {
        state[place] = folderMark;
        for (const fs::path& entry : fs::directory_iterator(folder)) {
            AddTree(state, place + Narrow(entry.filename()) + "\\", entry);
        }
    } else if (fs::exists(folder)) {
        state[place.substr(0, place.size() - 1)] = DescribeFile(folder);
    }
}

struct Change {
    std::string place;
    std::string text;   // of the file
    std::wstring copy;  // what is copied there, instead
    bool removes;
    bool isFolder;
};

Change ReadChange(const std::string& line, const Places& places) {
    const bool removes = line.starts_with('-');
    const std::size_t at = std::min(line.find('='), line.size());
    const std::string place = ExpandNames(line.substr(removes, at - removes), places);
    std::string text = at == line.size() ? "" : ExpandNames(line.substr(at + 1), places);
    std::wstring copy;
    if (text.starts_with('<') && text.ends_with('>')) {
        copy = PathOf("work\\" + text.substr(1, text.size() - 2), places);
        EXPECT_TRUE(fs::exists(copy)) << "nothing to copy for " << line;
    }
    return {place, text, copy, removes, place.ends_with('\\')};
}

// With the times of its files.
void CopyTree(const fs::path& from, const fs::path& to) {
    fs::create_directories(to);
    for (const fs::path& entry : fs::recursive_directory_iterator(from)) {
        const fs::path target = to / entry.lexically_relative(from);
        EXPECT_TRUE(fs::is_directory(entry) ? fs::create_directories(target)
                                            : CopyFileW(entry.c_str(), target.c_str(), FALSE))
            << target;
    }
}

}  // namespace

void AddKeys(State& state, const std::string& place, HKEY parent, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    state[place] = folderMark;
    static wchar_t name[16384], data[500000];
    DWORD length = 16384, type = 0, size = sizeof data;
    for (DWORD i = 0; RegEnumValueW(key, i, name, &length, nullptr, &type,
                                    reinterpret_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
         ++i, length = 16384, size = sizeof data) {
        // A text is stored without a terminator; the system may add one.
        state[place + Narrow(name)] = type == REG_SZ
                                          ? Narrow({data, wcsnlen(data, size / 2)})
                                          : "type " + std::to_string(type) + ", " +
                                                Checksum({reinterpret_cast<char*>(data), size});
    }
    for (DWORD i = 0; RegEnumKeyW(key, i, name, 16384) == ERROR_SUCCESS; ++i) {
        AddKeys(state, place + Narrow(name) + "\\", key, name);
    }
    RegCloseKey(key);
}

State TakeState() {
    State state;
    AddTree(state, "menu\\", PathOf("menu"));
    AddTree(state, "temp\\", PathOf("temp"));
    for (std::size_t i = 0; i < CountProducts(); ++i) {
        const Places& places = GetPlaces(i);
        AddTree(state, places.mark + "app\\", PathOf("app", places));
        AddTree(state, places.mark + "roaming\\", PathOf("roaming", places));
        AddKeys(state, places.mark + "entry\\", HKEY_CURRENT_USER, PathOf("entry", places));
    }
    // What this Wine's command processor leaves of a pipe.
    Drop(state, "temp\\CMD");
    // Always there; what they hold counts.
    state.erase("menu\\");
    state.erase("temp\\");
    return state;
}

std::string Differences(const State& expected, const State& actual) {
    std::string lines;
    State both = expected;
    both.insert(actual.begin(), actual.end());
    for (const auto& [place, content] : both) {
        const auto show = [&place = place](const State& state) {
            const auto found = state.find(place);
            return found == state.end() ? "<missing>" : found->second;
        };
        if (show(expected) != show(actual)) {
            lines += place + " is " + show(actual) + ", not " + show(expected) + "\n";
        }
    }
    return lines;
}

std::size_t Drop(State& state, const std::string& place) {
    return std::erase_if(state, [&](const auto& entry) { return entry.first.starts_with(place); });
}

void ChangeMachine(const Lines& changes, const Places& places) {
    for (const std::string& line : changes) {
        const auto [place, text, copy, removes, isFolder] = ReadChange(line, places);
        const fs::path path = PathOf(place, places);
        if (removes) {
            RemoveTree(path);
            DeleteFileW(path.c_str());
        } else if (place.starts_with("entry\\")) {
            // The key comes with its first value.
            if (!isFolder) {
                SetText(HKEY_CURRENT_USER, path.parent_path(), path.filename().c_str(),
                        Widen(text));
            }
        } else if (place.ends_with(".lnk")) {
            WriteShortcut(path, places);
        } else if (isFolder) {
            fs::create_directories(path);
            if (!copy.empty()) {
                CopyTree(copy, path);
            }
        } else if (copy.empty()) {
            WriteFileText(path, text);
        } else {
            EXPECT_TRUE(CopyFileW(copy.c_str(), path.c_str(), FALSE)) << line;
        }
    }
}

void ChangeState(State& state, const Lines& changes, const Places& places) {
    for (const std::string& line : changes) {
        const auto [name, text, copy, removes, isFolder] = ReadChange(line, places);
        const bool isShared = name.starts_with("temp") || name.starts_with("menu");
        const std::string place = (isShared ? "" : places.mark) + name;
        if (removes) {
            EXPECT_NE(Drop(state, place), 0U) << "nothing expected at " << place;
        } else if (isFolder && !copy.empty()) {
            AddTree(state, place, copy);
        } else {
            state[place] = isFolder ? folderMark : copy.empty() ? text : DescribeFile(copy);
        }
    }
}

Lines Installation(const std::string& version, const std::string& sample) {
    const std::string files = "=<samples\\" + sample;
    return {"app\\",
            "app\\version=" + version,
            "app\\" + version + "\\" + files + ">",
            "app\\{name}Starter.exe" + files + "\\{name}Starter.exe>",
            "app\\uninstall.exe" + files + "\\uninstall.exe>",
            "entry\\",
            "entry\\DisplayName={name}",
            "entry\\DisplayVersion=" + version,
            "entry\\DisplayIcon={uninstaller}",
            "entry\\UninstallString={uninstaller}",
            "entry\\Publisher=Brontavia",
            "menu\\{name}.lnk=target {starter}, arguments [], icon {uninstaller},0, "
            "description {name}link, folder {app}"};
}

void PutInstallation(const std::string& version, const Places& places) {
    const Lines changes =
        Installation(version, places.mark.empty() ? "former" : "second-" + version);
    State expected = TakeState();
    ChangeMachine(changes, places);
    ChangeState(expected, changes, places);
    ASSERT_EQ(Differences(expected, TakeState()), "");
}
