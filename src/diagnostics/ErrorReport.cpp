#include "diagnostics/ErrorReport.h"

#include <strsafe.h>

#include "base/GlobalVars.h"
#include "base/Log.h"
#include "base/TempFolder.h"
#include "base/Utf8.h"
#include "diagnostics/HttpPost.h"
#include "diagnostics/ProcessSection.h"
#include "diagnostics/SystemInfo.h"
#include "fs/FilePrimitives.h"
#include "processes/Launch.h"

ErrorReport& errorReport = *new ErrorReport;

namespace {

// Gathered from the last piece to the first: what the walk of the processes logs is to be in the
// log of the same report.
std::wstring GatherSections(const std::wstring& appGuid) {
    const std::wstring processes = GetProcessTree();
    const std::wstring log = GetLogText();
    const std::wstring isAdmin = IsRunAsAdmin() ? L"1" : L"0";
    const std::wstring currentDirectory = GetCurrentDirectoryText();
    const std::wstring executable = GetExecutablePath();
    const std::wstring environment = GetEnvironmentInfo();
    const std::wstring versions = GetVersionsInfo(appGuid.c_str());
    const std::wstring memory = GetMemoryInfo();
    const std::wstring cpu = GetCpuInfo();
    const std::wstring os = GetOsInfo();
    return L" // local time: " + GetTimeStamp() + L"\n // os: " + os + L"\n // cpu: " + cpu +
           L"\n // mem: " + memory + L"\n // vers: " + versions + L"\n // env: " + environment +
           L"\n // cmd: " + executable + L"\n // curDir: " + currentDirectory + L"\n // isAdmin: " +
           isAdmin + L"\n // installer log:\n" + log + L"\n // processes:\n" + processes;
}

void Save(const std::wstring& text, const std::wstring& fileName) {
    wchar_t folder[MAX_PATH];
    wchar_t path[MAX_PATH];
    if (!GetTempFolder(folder) ||
        FAILED(StringCchPrintfW(path, MAX_PATH, L"%s\\%s", folder, fileName.c_str()))) {
        return;
    }
    WriteBufferToFile(text.data(), static_cast<std::uint32_t>(text.size() * sizeof(wchar_t)), path);
}

bool IsUnreserved(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z') || byte == '-' || byte == '_' || byte == '.' || byte == '~';
}

}  // namespace

std::wstring PercentEncode(const std::wstring& text) {
    constexpr wchar_t digits[] = L"0123456789abcdef";
    std::wstring encoded;
    for (const char byte : ToUtf8(text)) {
        if (IsUnreserved(byte)) {
            encoded += static_cast<wchar_t>(byte);
        } else {
            const unsigned value = static_cast<unsigned char>(byte);
            encoded += {L'%', digits[value >> 4], digits[value & 15]};
        }
    }
    return encoded;
}

void ErrorReport::CaptureLastError() {
    lastError = GetLastError();
    lastErrorText = ErrorText(lastError);
}

void ErrorReport::SetMessage(const wchar_t* text) {
    if (text != nullptr) {
        message = text;
    }
}

void ErrorReport::Send(const ErrorReport* source) {
    const ErrorReport& failure = source ? *source : *this;
    body = failure.message + L" : " + failure.lastErrorText;
    body += GatherSections(globalVars.appGuid);
    Save(body, globalVars.errorReportFileName);
    body = L"{ \"message\": \"" + PercentEncode(body) + L"\" }";
    PostJson({globalVars.serverHost, globalVars.serverPort, globalVars.reportErrorPath,
              globalVars.internetFlags},
             body);
}
