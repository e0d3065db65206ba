#pragma once

/// What tests/scenarios/run has made before the scenarios run, and where the product puts things.
/// All paths are full Windows paths without a trailing backslash.

#include <string>
#include <vector>

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
/// another version, with other file times; "second-1.0.0" and "second-1.1.0" are what the kit
/// packed of the second product.
std::wstring SampleFolder(const std::wstring& name);

struct Places {
    std::string mark;   // in front of the product's places in a State; empty for the product
    std::wstring name;  // display name
    std::wstring uninstallKey;  // below HKEY_CURRENT_USER
    std::wstring app;           // the install folder
    std::wstring roaming;       // the application's own data
    std::wstring menu;          // the programs folder of the start menu
    std::wstring temp;
    std::wstring shortcut;
    std::wstring starter;
    std::wstring uninstaller;
    std::wstring versionFile;
    std::wstring extractFolder;
    std::wstring uninstallCopy;  // of the uninstaller, which does the work
};

/// Those of the product, and behind them those of the second product where the run has made one.
const std::vector<Places>& GetAllPlaces();
const Places& GetPlaces();

constexpr wchar_t appExeName[] = L"Quorvane.exe";
constexpr wchar_t windowClassName[] = L"QuorvaneInstallerWindow";

/// A text of the product's table, such as "TextTitle", in the language that the tests run in, or in
/// another one of the table.
std::wstring ProductText(const char* name, const char* language = "en");

/// The same of the second product.
std::wstring SecondProductText(const char* name);

std::string Narrow(const std::wstring& text);
std::wstring Widen(const std::string& text);
