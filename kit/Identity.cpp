#include "kit/Identity.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "kit/DisplayName.h"
#include "kit/FileNames.h"
#include "kit/Files.h"
#include "kit/JsonText.h"

namespace {

using nlohmann::json;

constexpr const char* fileName = "product.json";
// The program reads a string resource into 260 characters with the terminator.
constexpr std::size_t longestResource = 259;

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

Failure JudgeSlug(const std::wstring& slug) {
    const bool formed =
        slug.find_first_not_of(std::wstring(lowerDigits) + L"-") == std::wstring::npos &&
        slug.front() != L'-' && slug.back() != L'-' && slug.size() <= 64;
    if (!formed) {
        return "expected at most 64 of a-z, 0-9 and - with no - at either end";
    }
    if (IsDeviceName(slug)) {
        return "expected another name: the system keeps this one for a device";
    }
    return {};
}

bool IsHost(const std::wstring& host) {
    return ConsistsOf(host, hostCharacters) && host.size() <= 253 && host.front() != L'.' &&
           host.front() != L'-' && host.find(L"..") == std::wstring::npos;
}

Failure JudgeHost(const std::wstring& host) {
    return IsHost(host) ? Failure() : "expected a host name alone, such as download.example.com";
}

bool IsPort(const std::wstring& port) {
    return IsNumberUpTo(port, 65535) && port.find_first_not_of(L'0') != std::wstring::npos;
}

Failure JudgePort(const std::wstring& port) {
    return IsPort(port) ? Failure() : "expected a number from 1 to 65535";
}

/// Nothing, or names with a slash in front of each.
bool IsUrlPath(const std::wstring& path) {
    const auto isOutside = [](wchar_t c) { return c <= 32 || c > 126; };
    if (path.find_first_of(L"\\?#\"<>&|^") != std::wstring::npos ||
        std::any_of(path.begin(), path.end(), isOutside)) {
        return false;
    }
    bool fits = path.empty() || path.front() == L'/';
    for (std::size_t start = 1; fits && start <= path.size();) {
        const std::size_t end = std::min(path.find(L'/', start), path.size());
        const std::wstring name = path.substr(start, end - start);
        fits = !name.empty() && name != L"." && name != L"..";
        start = end + 1;
    }
    return fits;
}

Failure JudgePrefix(const std::wstring& prefix) {
    return IsUrlPath(prefix) ? Failure()
                             : "expected nothing or a path such as /a/b, names with one slash in "
                               "front of each";
}

Failure JudgeBaseUrl(const std::wstring& url) {
    if (const Failure expected = JudgeUrl(url)) {
        return expected;
    }
    return url.find(L'/', url.find(L"//") + 2) == std::wstring::npos
               ? Failure()
               : "expected scheme and host alone; a path belongs into pathPrefix";
}

Failure JudgeGuid(const std::wstring& guid) {
    const std::wstring_view form = L"{00000000-0000-0000-0000-000000000000}";
    bool fits = guid.size() == form.size();
    for (std::size_t i = 0; fits && i < form.size(); ++i) {
        fits = form[i] == L'0' ? hexDigits.find(guid[i]) != std::wstring::npos : guid[i] == form[i];
    }
    if (fits && guid.find_first_not_of(L"{0-}") == std::wstring::npos) {
        return "expected a GUID of the product's own, not zeros";
    }
    return fits
               ? Failure()
               : "expected a GUID in braces and upper case: {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
}

Failure JudgeSupportAddress(const std::wstring& address) {
    const std::size_t at = address.find(L'@');
    const auto isBlank = [](wchar_t character) { return character <= 32; };
    return at != std::wstring::npos && at > 0 && at + 1 < address.size() &&
                   std::none_of(address.begin(), address.end(), isBlank)
               ? Failure()
               : "expected an e-mail address";
}

Failure JudgeVersion(const std::wstring& version) {
    unsigned numbers = 0;
    std::size_t start = 0;
    bool fits = true;
    while (fits && start <= version.size()) {
        const std::size_t end = std::min(version.find(L'.', start), version.size());
        fits = IsNumberUpTo(version.substr(start, end - start), 65535);
        ++numbers;
        start = end + 1;
    }
    return fits && numbers == 4 ? Failure() : "expected four numbers up to 65535, such as 1.0.0.0";
}

enum class Need { Text, MayBeEmpty, MayBeMissing };

struct Key {
    const char* name;
    decltype(&Identity::slug) value;
    Failure (*judge)(const std::wstring&);
    Need need;
};

const std::array<Key, 10> keys = {{
    {"displayName", &Identity::displayName, JudgeDisplayName, Need::Text},
    {"slug", &Identity::slug, JudgeSlug, Need::Text},
    {"serverHost", &Identity::serverHost, JudgeHost, Need::Text},
    {"serverPort", &Identity::serverPort, JudgePort, Need::Text},
    {"baseUrl", &Identity::baseUrl, JudgeBaseUrl, Need::Text},
    {"pathPrefix", &Identity::pathPrefix, JudgePrefix, Need::MayBeEmpty},
    {"altUrl", &Identity::altUrl, JudgeUrl, Need::MayBeMissing},
    {"guid", &Identity::guid, JudgeGuid, Need::Text},
    {"supportAddress", &Identity::supportAddress, JudgeSupportAddress, Need::Text},
    {"installerVersion", &Identity::installerVersion, JudgeVersion, Need::Text},
}};

void ReadValue(const json& object, const Key& key, Identity& identity, Findings& findings) {
    const auto value = object.find(key.name);
    if (value == object.end()) {
        if (key.need != Need::MayBeMissing) {
            AddError(findings, fileName, key.name, "is missing; expected a string");
        }
        return;
    }
    if (!value->is_string()) {
        AddError(findings, fileName, key.name, DescribeValue(*value) + "; expected a string");
        return;
    }
    const std::wstring text = Widen(value->get_ref<const std::string&>());
    if (text.empty() && key.need != Need::Text) {
        return;
    }
    const Failure expected = text.empty()                    ? "expected a text that is not empty"
                             : text.size() > longestResource ? "expected at most 259 characters"
                                                             : key.judge(text);
    if (expected) {
        AddError(findings, fileName, key.name, "is \"" + Narrow(text) + "\"; " + *expected);
        return;
    }
    identity.*key.value = text;
}

}  // namespace

Failure JudgeUrl(const std::wstring& url) {
    const bool https = url.rfind(L"https://", 0) == 0;
    if (!https && url.rfind(L"http://", 0) != 0) {
        return "expected https:// or http:// in front, in lower case";
    }
    if (url.back() == L'/') {
        return "expected no slash at the end";
    }
    const std::size_t start = https ? 8 : 7;
    const std::size_t end = std::min(url.find(L'/', start), url.size());
    const std::wstring place = url.substr(start, end - start);
    const std::size_t colon = std::min(place.find(L':'), place.size());
    const bool portFits = colon == place.size() || IsPort(place.substr(colon + 1));
    if (!IsHost(place.substr(0, colon)) || !portFits) {
        return "expected scheme, host and, where it is another one, a port";
    }
    return IsUrlPath(url.substr(end))
               ? Failure()
               : "expected a path such as /a/b, names with one slash in front of each";
}

Failure AddSetting(const std::string& setting, Settings& settings) {
    const std::size_t end = setting.find('=');
    const std::string name = setting.substr(0, end);
    if (end == std::string::npos) {
        return "--set " + setting + ": expected KEY=VALUE";
    }
    if (std::none_of(keys.begin(), keys.end(), [&](const Key& key) { return name == key.name; })) {
        return "--set " + setting + ": product.json has no key of this name";
    }
    settings[name] = setting.substr(end + 1);
    return {};
}

Identity ReadIdentity(std::string_view text, const Settings& settings, Findings& findings) {
    Identity identity;
    const std::size_t before = findings.size();
    json object = ParseObject(text, fileName, "strings", findings);
    if (object.empty() && findings.size() > before) {
        return identity;
    }
    for (const auto& [key, value] : settings) {
        object[key] = value;
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
    if (identity.displayName.find(L'&') != std::wstring::npos) {
        AddWarning(findings, fileName, "displayName",
                   "holds &; the window shows it as a line under the next letter");
    }
    return identity;
}
