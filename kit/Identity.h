#pragma once

#include <map>
#include <string>
#include <string_view>

#include "kit/Failure.h"
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

/// Values by key of product.json that stand in for what is written there.
using Settings = std::map<std::string, std::string>;

/// Adds what a call gives as KEY=VALUE; the last one of a key counts.
Failure AddSetting(const std::string& setting, Settings& settings);

/// Reads and checks product.json with these settings. What is missing or ill-formed becomes an
/// error and stays empty, a key that is not known becomes a warning.
Identity ReadIdentity(std::string_view json, const Settings& settings, Findings& findings);

/// Judges an address that a path can be put behind: scheme, host, maybe a port and a path. Tells
/// what is expected of it when it does not fit.
Failure JudgeUrl(const std::wstring& url);
