#include "base/Log.h"

#include <strsafe.h>

#include "base/DecimalText.h"
#include "base/LastErrorKeeper.h"

namespace {

// On the heap for good: the program may still log while static objects are being destroyed.
std::wstring& logText = *new std::wstring;

void AppendLine(const wchar_t* level, const std::wstring& sourceName, const std::wstring& message) {
    const LastErrorKeeper keeper;
    logText += GetTimeStamp();
    logText += L" [";
    logText += level;
    logText += L"]  [";
    logText += sourceName;
    logText += L"] ";
    logText += message;
    logText += L"\n";
}

}  // namespace

Logger& findProcessesLog = *new Logger(L"FindProcesses");
Logger& fsUtilsLog = *new Logger(L"FSUtils");
Logger& globalVarsLog = *new Logger(L"GlobalVars");
Logger& installAppLog = *new Logger(L"InstallApp");
Logger& mainLog = *new Logger(L"Main");
Logger& mainWindowLog = *new Logger(L"MainWindow");
Logger& processesUtilsLog = *new Logger(L"ProcessesUtils");
Logger& progressLog = *new Logger(L"Progress");
Logger& utilsLog = *new Logger(L"Utils");

Logger::Logger(const wchar_t* name) : sourceName(name) {}

void Logger::Info(std::wstring message) {
    AppendLine(L"INFO", sourceName, message);
}

void Logger::Warn(std::wstring message) {
    AppendLine(L"WARN", sourceName, message);
}

void Logger::Error(std::wstring message) {
    AppendLine(L"ERROR", sourceName, message);
}

std::wstring GetLogText() {
    return logText;
}

std::wstring GetTimeStamp() {
    SYSTEMTIME time{};
    GetLocalTime(&time);
    wchar_t text[256];
    if (FAILED(StringCchPrintfW(text, 256, L"%d-%02d-%02d %02d:%02d:%02d.%03d", time.wYear,
                                time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond,
                                time.wMilliseconds))) {
        return {};
    }
    return text;
}

std::wstring ErrorText(DWORD code) {
    const LastErrorKeeper keeper;
    wchar_t* systemText = nullptr;
    FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
        nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        reinterpret_cast<wchar_t*>(&systemText), 0, nullptr);
    std::wstring text = L"[" + DecimalText(code) + L"] ";
    text += systemText ? systemText : L"<FormatMessage empty result>";
    LocalFree(systemText);
    return text;
}

std::wstring LastErrorText() {
    return ErrorText(GetLastError());
}

std::wstring HResultText(HRESULT hr) {
    const DWORD bits = static_cast<DWORD>(hr);
    if (bits >> 16 == 0x8007) {
        return ErrorText(bits & 0xFFFF);
    }
    if (bits == 0) {
        return ErrorText(0);
    }
    wchar_t text[32];
    StringCchPrintfW(text, 32, L"[0x%x] ...", bits);
    return text;
}
