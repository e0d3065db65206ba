#include "kit/VersionBlock.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr const wchar_t* company = L"Brontavia";

enum class ValueType : WORD { Binary = 0, Text = 1 };

std::string_view Bytes(std::wstring_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

void Align(std::string& data) {
    data.resize((data.size() + 3) / 4 * 4);
}

/// One node: its length, its value's length, its type, its key, its value, its children, each of
/// the last three on a multiple of four.
std::string Node(const wchar_t* key, ValueType type, WORD valueLength, std::string_view value,
                 std::string_view children) {
    std::string node(3 * sizeof(WORD), '\0');
    node += Bytes({key, std::wcslen(key) + 1});
    Align(node);
    node += value;
    if (!children.empty()) {
        Align(node);
        node += children;
    }
    const WORD head[] = {static_cast<WORD>(node.size()), valueLength, static_cast<WORD>(type)};
    std::memcpy(node.data(), head, sizeof head);
    return node;
}

void AddString(std::string& strings, const wchar_t* key, const std::wstring& text) {
    Align(strings);
    // The length of a text is told in characters, with its terminator.
    strings += Node(key, ValueType::Text, static_cast<WORD>(text.size() + 1),
                    Bytes({text.c_str(), text.size() + 1}), {});
}

VS_FIXEDFILEINFO MakeFixedInfo(const std::wstring& version) {
    unsigned long numbers[4] = {};
    const wchar_t* place = version.c_str();
    for (unsigned long& number : numbers) {
        wchar_t* end = nullptr;
        number = std::wcstoul(place, &end, 10);
        place = *end == L'.' ? end + 1 : end;
    }
    VS_FIXEDFILEINFO info = {};
    info.dwSignature = VS_FFI_SIGNATURE;
    info.dwStrucVersion = VS_FFI_STRUCVERSION;
    info.dwFileVersionMS = info.dwProductVersionMS = MAKELONG(numbers[1], numbers[0]);
    info.dwFileVersionLS = info.dwProductVersionLS = MAKELONG(numbers[3], numbers[2]);
    info.dwFileFlagsMask = VS_FFI_FILEFLAGSMASK;
    info.dwFileOS = VOS_NT_WINDOWS32;
    info.dwFileType = VFT_APP;
    return info;
}

}  // namespace

std::string EncodeVersionBlock(const Identity& identity) {
    std::string strings;
    AddString(strings, L"CompanyName", company);
    AddString(strings, L"FileDescription", identity.displayName + L" Setup");
    AddString(strings, L"FileVersion", identity.installerVersion);
    AddString(strings, L"OriginalFilename", identity.displayName + L"Setup.exe");
    AddString(strings, L"ProductName", identity.displayName);
    AddString(strings, L"ProductVersion", identity.installerVersion);
    const std::string table = Node(L"041904b0", ValueType::Text, 0, {}, strings);
    std::string children = Node(L"StringFileInfo", ValueType::Text, 0, {}, table);
    Align(children);
    const WORD translation[] = {0x0419, 1200};
    const std::string languages =
        Node(L"Translation", ValueType::Binary, sizeof translation,
             {reinterpret_cast<const char*>(translation), sizeof translation}, {});
    children += Node(L"VarFileInfo", ValueType::Text, 0, {}, languages);
    const VS_FIXEDFILEINFO info = MakeFixedInfo(identity.installerVersion);
    return Node(L"VS_VERSION_INFO", ValueType::Binary, sizeof info,
                {reinterpret_cast<const char*>(&info), sizeof info}, children);
}
