#include "Record.h"

#include <windows.h>

namespace {

void AppendText(const std::wstring& path, const std::string& text) {
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
}

}  // namespace

void RecordLine(std::wstring line, const std::wstring& path) {
    line += L'\n';
    const int length = static_cast<int>(line.size());
    std::string text(line.size() * 3, '\0');
    text.resize(WideCharToMultiByte(CP_UTF8, 0, line.data(), length, text.data(),
                                    static_cast<int>(text.size()), nullptr, nullptr));
    if (!path.empty()) {
        AppendText(path, text);
    }
    wchar_t record[MAX_PATH];
    const DWORD recordLength = GetEnvironmentVariableW(L"SAMPLE_RECORD", record, MAX_PATH);
    if (recordLength > 0 && recordLength < MAX_PATH) {
        AppendText(record, text);
    }
}

void RecordStart(const std::wstring& path) {
    RecordLine(GetCommandLineW(), path);
}
