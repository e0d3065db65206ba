#include "kit/Identity.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "kit/FileNames.h"
#include "kit/Files.h"

namespace {

using nlohmann::json;

constexpr const char* fileName = "product.json";
// The program reads a string resource into 260 characters with the terminator.
constexpr std::size_t longestResource = 259;
// Leaves room for the folders around it within a path of 259 characters.
constexpr std::size_t longestDisplayName = 64;

bool ConsistsOf(const std::wstring& text, std::wstring_view set) {
    return !text.empty() && text.find_first_not_of(set) == std::wstring::npos;
}

constexpr std::wstring_view digits = L"0123456789";
constexpr std::wstring_view hexDigits = L"0123456789ABCDEF";
constexpr std::wstring_view lowerDigits = L"abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::wstring_view hostCharacters =
    L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-";

bool IsNumberUpTo(const std::wstring& text, unsigned long limit) {
    return ConsistsOf(text, digits) && text.size() <= 9 &&
           std::wcstoul(text.c_str(), nullptr, 10) <= limit;
}

const char* JudgeDisplayName(const std::wstring& name) {
    if (name.size() > longestDisplayName) {
        return "expected at most 64 characters";
    }
    if (name.front() == L' ') {
        return "expected a name with no blank in front";
    }
    return JudgeFileName(name);
}

const char* JudgeSlug(const std::wstring& slug) {
    const bool formed =
        slug.find_first_not_of(std::wstring(lowerDigits) + L"-") == std::wstring::npos &&
        slug.front() != L'-' && slug.back() != L'-' && slug.size() <= 64;
    if (!formed) {
        return "expected at most 64 of a-z, 0-9 and - with no - at either end";
    }
    if (IsDeviceName(slug)) {
        return "expected another name: the system keeps this one for a device";
    }
    return nullptr;
}

bool IsHost(const std::wstring& host) {
    return ConsistsOf(host, hostCharacters) && host.size() <= 253 && host.front() != L'.' &&
           host.front() != L'-' && host.find(L"..") == std::wstring::npos;
}

const char* JudgeHost(const std::wstring& host) {
    return IsHost(host) ? nullptr : "expected a host name alone, such as download.example.com";
}

bool IsPort(const std::wstring& port) {
    return IsNumberUpTo(port, 65535) && port.find_first_not_of(L'0') != std::wstring::npos;
}

const char* JudgePort(const std::wstring& port) {
    return IsPort(port) ? nullptr : "expected a number from 1 to 65535";
}

const char* JudgeBaseUrl(const std::wstring& url) {
    const bool https = url.rfind(L"https://", 0) == 0;
    if (!https && url.rfind(L"http://", 0) != 0) {
        return "expected https:// or http:// in front, in lower case";
    }
    if (url.back() == L'/') {
        return "expected no slash at the end";
    }
    const std::wstring place = url.substr(https ? 8 : 7);
    if (place.find(L'/') != std::wstring::npos) {
        return "expected scheme and host alone; a path belongs into pathPrefix";
    }
    const std::size_t colon = place.find(L':');
    const bool portFits = colon == std::wstring::npos || IsPort(place.substr(colon + 1));
    return IsHost(place.substr(0, colon)) && portFits
               ? nullptr
               : "expected scheme, host and, where it is another one, a port";
}

const char* JudgePrefix(const std::wstring& prefix) {
    if (prefix.empty()) {
        return nullptr;
    }
    const auto isOutside = [](wchar_t c) { return c <= 32 || c > 126; };
    return prefix.front() == L'/' && prefix.back() != L'/' &&
                   prefix.find_first_of(L"\\?#\"<>&|^") == std::wstring::npos &&
                   std::none_of(prefix.begin(), prefix.end(), isOutside)
               ? nullptr
               : "expected nothing or a path that begins with a slash and ends with none";
}

const char* JudgeGuid(const std::wstring& guid) {
    const std::wstring_view form = L"{00000000-0000-0000-0000-000000000000}";
    bool fits = guid.size() == form.size();
    for (std::size_t i = 0; fits && i < form.size(); ++i) {
        fits = form[i] == L'0' ? hexDigits.find(guid[i]) != std::wstring::npos : guid[i] == form[i];
    }
    return fits
               ? nullptr
               : "expected a GUID in braces and upper case: {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
}

const char* JudgeSupportAddress(const std::wstring& address) {
    const std::size_t at = address.find(L'@');
    const auto isBlank = [](wchar_t character) { return character <= 32; };
    return at != std::wstring::npos && at > 0 && at + 1 < address.size() &&
                   std::none_of(address.begin(), address.end(), isBlank)
               ? nullptr
               : "expected an e-mail address";
}

const char* JudgeVersion(const std::wstring& version) {
    unsigned numbers = 0;
    std::size_t start = 0;
    bool fits = true;
    while (fits && start <= version.size()) {
        const std::size_t end = std::min(version.find(L'.', start), version.size());
        fits = IsNumberUpTo(version.substr(start, end - start), 65535);
        ++numbers;
        start = end + 1;
    }
    return fits && numbers == 4 ? nullptr : "expected four numbers up to 65535, such as 1.0.0.0";
}

struct Key {
    const char* name;
    std::wstring Identity::*value;
    const char* (*judge)(const std::wstring&);  // null when it fits, otherwise what is expected
    bool mayBeEmpty;
};

const std::array<Key, 9> keys = {{
    {"displayName", &Identity::displayName, JudgeDisplayName, false},
    {"slug", &Identity::slug, JudgeSlug, false},
    {"serverHost", &Identity::serverHost, JudgeHost, false},
    {"serverPort", &Identity::serverPort, JudgePort, false},
    {"baseUrl", &Identity::baseUrl, JudgeBaseUrl, false},
    {"pathPrefix", &Identity::pathPrefix, JudgePrefix, true},
    {"guid", &Identity::guid, JudgeGuid, false},
    {"supportAddress", &Identity::supportAddress, JudgeSupportAddress, false},
    {"installerVersion", &Identity::installerVersion, JudgeVersion, false},
}};

void ReadValue(const json& object, const Key& key, Identity& identity, Findings& findings) {
    const auto value = object.find(key.name);
    if (value == object.end()) {
        AddError(findings, fileName, key.name, "is missing; expected a string");
        return;
    }
    if (!value->is_string()) {
        AddError(findings, fileName, key.name, "is " + value->dump() + "; expected a string");
        return;
    }
    const std::wstring text = Widen(value->get_ref<const std::string&>());
    identity.*key.value = text;
    if (text.empty() && key.mayBeEmpty) {
        return;
    }
    const char* expected = text.empty()                    ? "expected a text that is not empty"
                           : text.size() > longestResource ? "expected at most 259 characters"
                                                           : key.judge(text);
    if (expected != nullptr) {
        AddError(findings, fileName, key.name, "is \"" + Narrow(text) + "\"; " + expected);
    }
}

}  // namespace

Identity ReadIdentity(std::string_view text, Findings& findings) {
    Identity identity;
    json object;
    try {
        object = json::parse(text);
    } catch (const json::exception& error) {
        AddError(findings, fileName, "", std::string("is no JSON: ") + error.what());
        return identity;
    }
    if (!object.is_object()) {
        AddError(findings, fileName, "", "expected an object of strings");
        return identity;
    }
    for (const Key& key : keys) {
        ReadValue(object, key, identity, findings);
    }
    for (const auto& item : object.items()) {
        const auto isKey = [&item](const Key& key) { return item.key() == key.name; };
        if (std::none_of(keys.begin(), keys.end(), isKey)) {
            AddWarning(findings, fileName, item.key(), "is not known; it is not used");
        }
    }
    // The script that deletes the uninstaller would take what stands between two of them for a
    // variable.
    if (identity.displayName.find(L'%') != std::wstring::npos) {
        AddWarning(findings, fileName, "displayName",
                   "holds a percent sign; expected none, or the uninstaller's own file may stay");
    }
    return identity;
}
