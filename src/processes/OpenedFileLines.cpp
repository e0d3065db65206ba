#include "processes/OpenedFileLines.h"

#include <shlwapi.h>
#include <tlhelp32.h>

#include <cwctype>

#include "diagnostics/DecimalText.h"
#include "processes/ProcessControl.h"

std::unordered_map<DWORD, ProcessInfo>& processCache = *new std::unordered_map<DWORD, ProcessInfo>;

namespace {

// For a process that is not in the cache: it has started since, or it is gone.
ProcessInfo DescribeUnknownProcess(DWORD processId) {
    const std::wstring fullPath = GetProcessFullName(processId);
    if (!fullPath.empty()) {
        return {PathFindFileNameW(fullPath.c_str()), fullPath};
    }
    constexpr DWORD systemProcess = 4;
    return {processId == systemProcess ? L"System" : L"Unknown Process", L""};
}

}  // namespace

void BuildProcessCache() {
    processCache.clear();
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more;
         more = Process32NextW(snapshot, &entry)) {
        processCache[entry.th32ProcessID] = {entry.szExeFile,
                                             GetProcessFullName(entry.th32ProcessID)};
    }
    CloseHandle(snapshot);
}

std::wstring FormatOpenedFileLine(DWORD processId, bool isModule, const std::wstring& path) {
    auto known = processCache.find(processId);
    if (known == processCache.end()) {
        known = processCache.emplace(processId, DescribeUnknownProcess(processId)).first;
    }
    const ProcessInfo& process = known->second;
    return L"[" + DecimalText(processId) + L"] " + process.name + L" (" + process.fullPath +
           L") [" + (isModule ? L"module " : L"") + path + L"]\n";
}

std::wstring ToLowerCase(std::wstring text) {
    for (wchar_t& character : text) {
        character = static_cast<wchar_t>(std::towlower(character));
    }
    return text;
}
