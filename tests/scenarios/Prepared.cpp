#include "scenarios/Prepared.h"

#include <windows.h>
#include <shlobj.h>
#include <stdlib.h>

#include <filesystem>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

std::string UserFolder(int folder) {
    wchar_t path[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, folder, nullptr, 0, path);
    return Narrow(path);
}

std::string TempFolder() {
    wchar_t path[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, path);
    return Narrow(fs::path(path).parent_path());
}

// A path of the machine itself is drive Z: of the prefix.
std::wstring FolderOfRun(const wchar_t* name = L"SCENARIOS_FOLDER") {
    return fs::path(std::wstring(L"Z:") + _wgetenv(name)).make_preferred();
}

struct Product {
    Json identity, texts;
    Places places;
};

void FindPlaces(const Json& identity, Places& places) {
    const std::string name = identity.at("displayName"), work = Narrow(FolderOfRun()),
                      app = UserFolder(CSIDL_LOCAL_APPDATA) + "\\" + name,
                      menu = UserFolder(CSIDL_PROGRAMS), temp = TempFolder(),
                      port = getenv("SCENARIOS_PORT"), securePort = getenv("SCENARIOS_HTTPS_PORT");
    places.name = name;
    places.slug = identity.at("slug");
    places.names = {
        {"{app}", app},
        {"{roaming}", UserFolder(CSIDL_APPDATA) + "\\" + name},
        {"{menu}", menu},
        {"{temp}", temp},
        {"{starter}", app + "\\" + name + "Starter.exe"},
        {"{uninstaller}", app + "\\uninstall.exe"},
        {"{copy}", temp + "\\" + name + ".uninstall.exe"},
        {"{shortcut}", menu + "\\" + name + ".lnk"},
        {"{entry}", "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" +
                        identity.at("guid").get<std::string>()},
        {"{work}", work},
        {"{volume}", Narrow(FolderOfRun(L"SCENARIOS_VOLUME"))},
        {"{setup}", work + (places.mark.empty() ? "\\setup.exe" : "\\second-setup.exe")},
        {"{offline}", work + "\\offline.exe"},
        {"{secure}", work + "\\secure.exe"},
        {"{server}", "http://127.0.0.1:" + port + "/"},
        {"{secureServer}", "https://127.0.0.1:" + securePort + "/"},
        {"{port}", port},
        {"{name}", name},
        {"{supportAddress}", identity.at("supportAddress")}};
}

std::vector<Product> ReadProducts() {
    std::vector<Product> found;
    for (const auto& [name, mark, serverPath] :
         {std::tuple{L"product", "", ""}, {L"second-product", "second ", "/second"}}) {
        const fs::path folder = fs::path(FolderOfRun()) / name;
        if (fs::exists(folder)) {
            found.push_back({Json::parse(ReadFileText(folder / L"product.json")),
                             Json::parse(ReadFileText(folder / L"texts.json")),
                             {"", "", mark, serverPath, {}}});
            FindPlaces(found.back().identity, found.back().places);
        }
    }
    return found;
}

std::vector<Product>& Products() {
    static std::vector<Product> products = ReadProducts();
    return products;
}

}  // namespace

std::size_t CountProducts() {
    return Products().size();
}

const Places& GetPlaces(std::size_t product) {
    return Products().at(product).places;
}

std::string ExpandNames(std::string text, const Places& places) {
    for (const auto& [name, value] : places.names) {
        for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

Lines Expanded(Lines lines, const Places& places) {
    for (std::string& line : lines) {
        line = ExpandNames(line, places);
    }
    return lines;
}

std::wstring PathOf(const std::string& place, const Places& places) {
    const std::size_t end = std::min(place.find('\\'), place.size());
    std::string path = ExpandNames("{" + place.substr(0, end) + "}", places);
    EXPECT_NE(path[0], '{') << "no place " << place;
    path += ExpandNames(place.substr(end), places);
    return Widen(path.substr(0, path.find_last_not_of('\\') + 1));
}

void SetText(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    EXPECT_EQ(RegSetKeyValueW(root, key.c_str(), name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

void MoveProfile(const std::wstring& folder, const std::string& temp) {
    static const std::wstring firstTemp = Widen(TempFolder());
    constexpr wchar_t key[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
    for (const wchar_t* name : {L"Local AppData", L"AppData", L"Programs"}) {
        const std::wstring path = folder + L"\\" + name;
        if (folder.empty()) {
            RegDeleteKeyValueW(HKEY_CURRENT_USER, key, name);
        } else {
            fs::create_directories(path);
            SetText(HKEY_CURRENT_USER, key, name, path);
        }
    }
    std::wstring path = folder.empty() ? firstTemp : folder + L"\\Temp";
    if (!temp.empty()) {
        fs::create_directories(Widen(ExpandNames(temp)));
        path.resize(MAX_PATH);
        path.resize(GetShortPathNameW(Widen(ExpandNames(temp)).c_str(), path.data(), MAX_PATH));
    }
    SetEnvironmentVariableW(L"TMP", path.c_str());
    SetEnvironmentVariableW(L"TEMP", path.c_str());
    for (Product& product : Products()) {
        FindPlaces(product.identity, product.places);
    }
}

std::wstring ProductText(const char* name, const std::string& language, std::size_t product) {
    return Widen(
        ExpandNames(Products().at(product).texts.at(name).at(language), GetPlaces(product)));
}

std::string Narrow(const std::wstring& text) {
    const std::u8string narrow = fs::path(text).u8string();
    return {narrow.begin(), narrow.end()};
}

std::wstring Widen(const std::string& text) {
    return fs::path(std::u8string(text.begin(), text.end())).wstring();
}
