#include "scenarios/Prepared.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "support/Scratch.h"

namespace {

using Json = nlohmann::json;

std::wstring Variable(const wchar_t* name) {
    wchar_t value[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(name, value, MAX_PATH);
    return length < MAX_PATH ? std::wstring(value, length) : std::wstring();
}

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
    std::wstring folder = L"Z:" + Variable(L"SCENARIOS_FOLDER");
    std::replace(folder.begin(), folder.end(), L'/', L'\\');
    return {folder,
            folder + L"\\setup.exe",
            folder + L"\\offline.exe",
            folder + L"\\secure.exe",
            _wtoi(Variable(L"SCENARIOS_PORT").c_str()),
            _wtoi(Variable(L"SCENARIOS_HTTPS_PORT").c_str())};
}

struct Product {
    Json identity;
    Json texts;
};

// Of a product's folder in the scenarios' folder; null when it is not there.
Product ReadProduct(const wchar_t* name) {
    const std::wstring folder = GetPrepared().folder + L"\\" + name;
    if (!Exists(folder)) {
        return {};
    }
    return {Json::parse(ReadFileText(folder + L"\\product.json")),
            Json::parse(ReadFileText(folder + L"\\texts.json"))};
}

const Product& FirstProduct() {
    static const Product product = ReadProduct(L"product");
    return product;
}

const Product& SecondProduct() {
    static const Product product = ReadProduct(L"second-product");
    return product;
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
        std::vector<Places> found = {FindPlaces("", FirstProduct())};
        if (!SecondProduct().identity.is_null()) {
            found.push_back(FindPlaces("second ", SecondProduct()));
        }
        return found;
    }();
    return all;
}

const Places& GetPlaces() {
    return GetAllPlaces()[0];
}

std::wstring ProductText(const char* name, const char* language) {
    return TextOf(FirstProduct(), name, language);
}

std::wstring SecondProductText(const char* name) {
    return TextOf(SecondProduct(), name, "en");
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
