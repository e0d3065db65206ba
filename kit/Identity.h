#pragma once

#include <string>
#include <string_view>

#include "kit/Findings.h"

/// Who a product is and where its server stands: the values of product.json, each a string there.
struct Identity {
    std::wstring displayName;       // in file, folder, window and shortcut names
    std::wstring slug;              // in lock names and temporary file names
    std::wstring serverHost;        // receives error reports
    std::wstring serverPort;        // decimal
    std::wstring baseUrl;           // scheme and host, no trailing slash
    std::wstring pathPrefix;        // may be empty; in front of every path on the server
    std::wstring altUrl;            // may be empty; where archives are looked for first
    std::wstring guid;              // in braces, upper case
    std::wstring supportAddress;    // shown when an operation has failed
    std::wstring installerVersion;  // four numbers
};

/// Reads and checks product.json. What is missing or ill-formed becomes an error and stays empty, a
/// key that is not known becomes a warning.
Identity ReadIdentity(std::string_view json, Findings& findings);

/// Judges an address that a path can be put behind: scheme, host, maybe a port and a path. Returns
/// null when it fits, otherwise what is expected of it.
const char* JudgeUrl(const std::wstring& url);
