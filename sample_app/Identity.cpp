#include "Identity.h"

#include <windows.h>
#include <shlobj.h>
#include <algorithm>
#include <cstddef>

Identity GetIdentity(const wchar_t* ending) {
    Identity identity;
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    identity.path = path;
    identity.folder = GetParentFolder(identity.path);
    identity.name = identity.path.substr(identity.path.rfind(L'\\') + 1);
    const std::size_t length = lstrlenW(ending);
    const std::size_t kept = identity.name.size() - std::min(identity.name.size(), length);
    const bool hasEnding = lstrcmpiW(identity.name.c_str() + kept, ending) == 0;
    identity.name.resize(hasEnding ? kept : 0);
    wchar_t roaming[MAX_PATH];
    if (SUCCEEDED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, roaming))) {
        identity.roamingFolder = std::wstring(roaming) + L'\\' + identity.name;
    }
    return identity;
}

std::wstring GetParentFolder(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\'));
}

std::wstring GetCloseEventName(const std::wstring& installFolder) {
    std::wstring name = L"sample_app.close." + installFolder;
    CharLowerBuffW(name.data(), static_cast<DWORD>(name.size()));
    // A backslash would lead into another name space.
    for (wchar_t& c : name) {
        if (c == L'\\') {
            c = L'/';
        }
    }
    return name;
}

bool HasBehaviour(const Identity& identity, const std::wstring& word) {
    wchar_t words[256];
    const DWORD length = GetEnvironmentVariableW(L"SAMPLE_BEHAVIOUR", words, 256);
    if (length > 0 && length < 256 &&
        (L"," + std::wstring(words, length) + L",").find(L"," + word + L",") !=
            std::wstring::npos) {
        return true;
    }
    const std::wstring marker = identity.roamingFolder + L'\\' + word;
    return GetFileAttributesW(marker.c_str()) != INVALID_FILE_ATTRIBUTES;
}
