#pragma once

/// What tests/scenarios/run has made before the scenarios run, and where the products put things.

#include <windows.h>

#include <map>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

struct Places {
    std::string name;        // display name
    std::string slug;        // in lock names and temporary file names
    std::string mark;        // in front of the product's places in a State; empty for the first one
    std::string serverPath;  // in front of every path on the server
    std::map<std::string, std::string> names;  // what ExpandNames replaces
};

/// One, or two where the run has made a second one.
std::size_t CountProducts();
const Places& GetPlaces(std::size_t product = 0);

/// The text with names in braces replaced by what they stand for:
///   {app} {roaming} {menu} {temp}              folders, without a trailing backslash
///   {starter} {uninstaller} {copy} {shortcut}  files; the copy is the uninstaller's
///   {entry}                                    the uninstall key, below HKEY_CURRENT_USER
///   {work} {setup} {offline} {secure}          the folder of `run`, and programs in it
///   {volume}                                   a folder on another volume than the user's
///   {server} {secureServer} {port}             addresses with a slash behind; the http port
///   {name} {supportAddress}                    what the product's file says
std::string ExpandNames(std::string text, const Places& places = GetPlaces());
Lines Expanded(Lines lines, const Places& places);

/// Full path of a place: a name of the above without braces, with what lies below it, such as
/// "app\\version". A backslash at the end is left out.
std::wstring PathOf(const std::string& place, const Places& places = GetPlaces());

/// Sets a value of the registry.
void SetText(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& text);

/// The user's folders and the one for temporary files lie below this folder from now on; with an
/// empty one where they did at first. `temp`, when not empty, is another folder for temporary
/// files, which programs are told in 8.3 form.
void MoveProfile(const std::wstring& folder, const std::string& temp);

/// For MoveProfile, both on the first volume.
constexpr wchar_t userWithBlank[] = L"C:\\users\\\u0401\u0436 Petrov";
inline const std::string longTemp = "{work}\\scratch\\a long name\\Temp";

constexpr wchar_t windowClassName[] = L"QuorvaneInstallerWindow";

/// A text of a product's table, such as "TextTitle".
std::wstring ProductText(const char* name, const std::string& language = "en",
                         std::size_t product = 0);

std::string Narrow(const std::wstring& text);
std::wstring Widen(const std::string& text);
