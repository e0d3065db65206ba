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

Json ReadProductFile(const wchar_t* name) {
    return Json::parse(ReadFileText(GetPrepared().folder + L"\\product\\" + name));
}

Places FindPlaces() {
    Places places;
    places.app = KnownFolder(CSIDL_LOCAL_APPDATA) + L"\\Quorvane";
    places.roaming = KnownFolder(CSIDL_APPDATA) + L"\\Quorvane";
    places.menu = KnownFolder(CSIDL_PROGRAMS);
    places.temp = TempFolder();
    places.shortcut = places.menu + L"\\Quorvane.lnk";
    places.starter = places.app + L"\\QuorvaneStarter.exe";
    places.uninstaller = places.app + L"\\uninstall.exe";
    places.versionFile = places.app + L"\\version";
    places.extractFolder = places.temp + L"\\Quorvane.TEMP";
    return places;
}

}  // namespace

const Prepared& GetPrepared() {
    static const Prepared prepared = ReadPreparation();
    return prepared;
}

std::wstring SampleFolder(const std::wstring& name) {
    return GetPrepared().folder + L"\\samples\\" + name;
}

const Places& GetPlaces() {
    static const Places places = FindPlaces();
    return places;
}

std::wstring ProductText(const char* name, const char* language) {
    static const Json table = ReadProductFile(L"texts.json");
    static const std::string address = ReadProductFile(L"product.json").at("supportAddress");
    std::string text = table.at(name).at(language);
    const std::string mark = "{supportAddress}";
    if (const std::size_t at = text.find(mark); at != std::string::npos) {
        text.replace(at, mark.size(), address);
    }
    return Widen(text);
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
