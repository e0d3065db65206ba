#include "processes/OpenedFileLines.h"

#include <shlwapi.h>

#include <cwctype>

#include "base/DecimalText.h"
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
    for (const ProcessRecord& process : ListProcesses()) {
        processCache[process.pid] = {process.exeName, GetProcessFullName(process.pid)};
    }
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
