#include "kit/StringTable.h"

#include <array>

#include "resources/ResourceIds.h"

std::string EncodeStringTable(const Identity& identity) {
    constexpr unsigned blockSize = 16, firstId = (identityBlock - 1) * blockSize;
    std::array<const std::wstring*, blockSize> strings = {};
    strings[IDS_DISPLAY_NAME - firstId] = &identity.displayName;
    strings[IDS_SLUG - firstId] = &identity.slug;
    strings[IDS_SERVER_HOST - firstId] = &identity.serverHost;
    strings[IDS_SERVER_PORT - firstId] = &identity.serverPort;
    strings[IDS_BASE_URL - firstId] = &identity.baseUrl;
    strings[IDS_PATH_PREFIX - firstId] = &identity.pathPrefix;
    strings[IDS_APP_GUID - firstId] = &identity.guid;
    std::wstring data;
    for (const std::wstring* string : strings) {
        data += static_cast<wchar_t>(string == nullptr ? 0 : string->size());
        if (string != nullptr) {
            data += *string;
        }
    }
    return {reinterpret_cast<const char*>(data.data()), data.size() * sizeof(wchar_t)};
}
