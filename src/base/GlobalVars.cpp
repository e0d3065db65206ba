#include "base/GlobalVars.h"

#include <shlobj.h>
#include <stdlib.h>
#include <wininet.h>

#include <cwchar>

#include "resources/ResourceIds.h"

GlobalVars& globalVars = *new GlobalVars;

std::wstring LoadStringResource(UINT id) {
    constexpr int textLength = 260;
    wchar_t text[textLength];
    return LoadStringW(nullptr, id, text, textLength) < 1 ? std::wstring() : std::wstring(text);
}

void GlobalVars::Init() {
    wchar_t localAppData[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, localAppData);

    const std::wstring displayName = LoadStringResource(IDS_DISPLAY_NAME);
    const std::wstring slug = LoadStringResource(IDS_SLUG);
    serverHost = LoadStringResource(IDS_SERVER_HOST);
    const std::wstring port = LoadStringResource(IDS_SERVER_PORT);
    const std::wstring baseUrl = LoadStringResource(IDS_BASE_URL);
    appGuid = LoadStringResource(IDS_APP_GUID);
    const std::wstring prefix = LoadStringResource(IDS_PATH_PREFIX);
    serverPort = static_cast<std::uint16_t>(wcstoul(port.c_str(), nullptr, 10));

    installerLockName = slug + L".installer.lock";
    uninstallerLockName = slug + L".uninstaller.lock";
    uninstallExeName = displayName + L".uninstall.exe";
    windowClassName = displayName + L"InstallerWindow";
    manifestUrl = baseUrl + prefix + L"/download/win/manifest.json";
    offlineInstallerUrl = baseUrl + prefix + L"/api/v1/service/offlineinstaller?app=quorvane&arch=";
    manifestFileName = slug + L"-manifest.json";
    archiveFileName = slug + L".zip";
    appDirName = displayName;
    tempDirName = displayName + L".TEMP";
    appExeName = displayName + L".exe";
    starterExeName = displayName + L"Starter.exe";
    shortcutName = displayName + L".lnk";
    appDisplayName = displayName;
    appName = displayName;
    reportErrorPath = prefix + L"/api/v1/service/reporterror";
    errorReportFileName = L"." + slug + L"-error-report.txt";

    // A report must get through to a server whose certificate has expired or names another host.
    internetFlags = baseUrl.rfind(L"https://", 0) == 0
                        ? INTERNET_FLAG_SECURE | INTERNET_FLAG_IGNORE_CERT_DATE_INVALID |
                              INTERNET_FLAG_IGNORE_CERT_CN_INVALID
                        : 0;

    installDir = std::wstring(localAppData) + L"\\" + displayName;
    versionFilePath = installDir + L"\\version";
    uninstallExePath = installDir + L"\\uninstall.exe";
    starterPath = installDir + L"\\" + starterExeName;
}
