#pragma once

/// What tests/scenarios/run has made before the scenarios run, and where the product puts things.
/// All paths are full Windows paths without a trailing backslash.

#include <string>

struct Prepared {
    std::wstring folder;
    std::wstring setup;         // the product's setup program, named setup.exe
    std::wstring offlineSetup;  // the same with the archive of version 1.2.3 inside
    std::wstring secureSetup;   // of a product whose addresses are those of the https port
    int port;                   // of the product's server on 127.0.0.1
    int securePort;             // the same with TLS
};

const Prepared& GetPrepared();

/// The unpacked tree of an archive: "full" is that of app.zip, version 1.2.3; "former" is of
/// another version, with other file times.
std::wstring SampleFolder(const std::wstring& name);

struct Places {
    std::wstring app;      // the install folder
    std::wstring roaming;  // the application's own data
    std::wstring menu;     // the programs folder of the start menu
    std::wstring temp;
    std::wstring shortcut;
    std::wstring starter;
    std::wstring uninstaller;
    std::wstring versionFile;
    std::wstring extractFolder;
};

const Places& GetPlaces();

constexpr wchar_t appExeName[] = L"Quorvane.exe";
constexpr wchar_t windowClassName[] = L"QuorvaneInstallerWindow";
constexpr wchar_t uninstallKey[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
    L"{7D2E41C6-3A95-4B08-9E1F-62C8D07AB513}";

/// A text of the product's table, such as "TextTitle", in the language that the tests run in, or in
/// another one of the table.
std::wstring ProductText(const char* name, const char* language = "en");

std::string Narrow(const std::wstring& text);
std::wstring Widen(const std::string& text);
