#include "scenarios/Prepared.h"

#include <windows.h>
#include <shlobj.h>
#include <stdlib.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "support/Scratch.h"

namespace {

using Json = nlohmann::json;

std::wstring KnownFolder(int folder) {
    wchar_t path[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, folder, nullptr, 0, path);
    return path;
}

std::wstring TempFolder() {
    wchar_t path[MAX_PATH + 1] = L"";
    const DWORD length = GetTempPathW(MAX_PATH + 1, path);
    return std::wstring(path, length == 0 ? 0 : length - 1);
}

Prepared ReadPreparation() {
    // A path of the machine itself is drive Z: of the prefix.
    std::wstring folder = std::wstring(L"Z:") + _wgetenv(L"SCENARIOS_FOLDER");
    std::replace(folder.begin(), folder.end(), L'/', L'\\');
    return {folder,
            folder + L"\\setup.exe",
            folder + L"\\offline.exe",
            folder + L"\\secure.exe",
            _wtoi(_wgetenv(L"SCENARIOS_PORT")),
            _wtoi(_wgetenv(L"SCENARIOS_HTTPS_PORT"))};
}

struct Product {
    Json identity;
    Json texts;
};

// The product, and behind it the second one where the run has made it.
const std::vector<Product>& Products() {
    static const std::vector<Product> products = [] {
        std::vector<Product> found;
        for (const wchar_t* name : {L"\\product\\", L"\\second-product\\"}) {
            const std::wstring folder = GetPrepared().folder + name;
            if (Exists(folder + L"product.json")) {
                found.push_back({Json::parse(ReadFileText(folder + L"product.json")),
                                 Json::parse(ReadFileText(folder + L"texts.json"))});
            }
        }
        return found;
    }();
    return products;
}

Places FindPlaces(const std::string& mark, const Product& product) {
    Places places;
    places.mark = mark;
    places.name = Widen(product.identity.at("displayName"));
    places.uninstallKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" +
                          Widen(product.identity.at("guid"));
    places.app = KnownFolder(CSIDL_LOCAL_APPDATA) + L"\\" + places.name;
    places.roaming = KnownFolder(CSIDL_APPDATA) + L"\\" + places.name;
    places.menu = KnownFolder(CSIDL_PROGRAMS);
    places.temp = TempFolder();
    places.shortcut = places.menu + L"\\" + places.name + L".lnk";
    places.starter = places.app + L"\\" + places.name + L"Starter.exe";
    places.uninstaller = places.app + L"\\uninstall.exe";
    places.versionFile = places.app + L"\\version";
    places.extractFolder = places.temp + L"\\" + places.name + L".TEMP";
    places.uninstallCopy = places.temp + L"\\" + places.name + L".uninstall.exe";
    return places;
}

std::wstring TextOf(const Product& product, const char* name, const char* language) {
    std::string text = product.texts.at(name).at(language);
    const std::string mark = "{supportAddress}";
    if (const std::size_t at = text.find(mark); at != std::string::npos) {
        text.replace(at, mark.size(), product.identity.at("supportAddress"));
    }
    return Widen(text);
}

}  // namespace

const Prepared& GetPrepared() {
    static const Prepared prepared = ReadPreparation();
    return prepared;
}

std::wstring SampleFolder(const std::wstring& name) {
    return GetPrepared().folder + L"\\samples\\" + name;
}

const std::vector<Places>& GetAllPlaces() {
    static const std::vector<Places> all = [] {
        std::vector<Places> found;
        for (const Product& product : Products()) {
            found.push_back(FindPlaces(found.empty() ? "" : "second ", product));
        }
        return found;
    }();
    return all;
}

const Places& GetPlaces() {
    return GetAllPlaces()[0];
}

std::wstring ProductText(const char* name, const char* language) {
    return TextOf(Products()[0], name, language);
}

std::wstring SecondProductText(const char* name) {
    return TextOf(Products().at(1), name, "en");
}

std::string Narrow(const std::wstring& text) {
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                      narrow.data(), static_cast<int>(narrow.size()), nullptr,
                                      nullptr));
    return narrow;
}

std::wstring Widen(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                    wide.data(), static_cast<int>(wide.size())));
    return wide;
}
