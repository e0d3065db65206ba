#include "processes/ProcessControl.h"

#include <psapi.h>
#include <string.h>
#include <tlhelp32.h>

#include "base/DecimalText.h"
#include "base/Log.h"

namespace {

bool EqualNames(const std::wstring& a, const std::wstring& b) {
    return _wcsicmp(a.c_str(), b.c_str()) == 0;
}

// Only ".exe" counts: the updater's own name comes without it and may hold other full stops.
std::wstring WithoutExtension(const std::wstring& name) {
    const std::size_t stem = name.size() < 4 ? 0 : name.size() - 4;
    return EqualNames(name.substr(stem), L".exe") ? name.substr(0, stem) : name;
}

bool IsPrefix(const std::wstring& prefix, const std::wstring& text) {
    return _wcsnicmp(text.c_str(), prefix.c_str(), prefix.size()) == 0;
}

std::wstring Describe(const ProcessRecord& process) {
    return L"process [" + process.exeName + L"], pid [" + DecimalText(process.pid) +
           L"], parent [" + DecimalText(process.parentPid) + L"]";
}

void LogWaitResult(DWORD result) {
    switch (result) {
        case WAIT_OBJECT_0:
            processesUtilsLog.Info(L"WaitProcessForClose: process closed");
            break;
        case WAIT_TIMEOUT:
            processesUtilsLog.Warn(L"WaitProcessForClose: WaitForSingleObject timeout!");
            break;
        case WAIT_FAILED:
            processesUtilsLog.Warn(L"WaitProcessForClose: WaitForSingleObject error: " +
                                   LastErrorText());
            break;
        default:
            processesUtilsLog.Warn(L"WaitProcessForClose: WaitForSingleObject result: " +
                                   DecimalText(result));
    }
}

void WarnAboutProcess(const wchar_t* call, DWORD pid) {
    const std::wstring error = LastErrorText();
    processesUtilsLog.Warn(L"GetProcessFullName: " + std::wstring(call) + L" for pid [" +
                           DecimalText(pid) + L"]: " + error);
}

}  // namespace

ProcessTree::ProcessTree() : ownPid(GetCurrentProcessId()) {
    TakeSnapshot();
}

ProcessTree::ProcessTree(const std::vector<ProcessRecord>& processes, DWORD own) : ownPid(own) {
    for (const ProcessRecord& process : processes) {
        Add(process);
    }
}

void ProcessTree::Add(const ProcessRecord& record) {
    const auto [entry, isNew] = byPid.emplace(record.pid, std::make_unique<ProcessRecord>(record));
    if (isNew) {
        byParent.emplace(record.parentPid, entry->second.get());
    }
}

void ProcessTree::TakeSnapshot() {
    for (const ProcessRecord& process : ListProcesses()) {
        Add(process);
    }
}

void ProcessTree::Clear() {
    byParent.clear();
    byPid.clear();
}

bool ProcessTree::IsOwn(const ProcessRecord& record) const {
    if (record.pid == ownPid) {
        return true;
    }
    if (record.parentPid != ownPid) {
        return false;
    }
    const std::wstring image = GetProcessFullName(record.pid);
    return !image.empty() && EqualNames(image, GetProcessFullName(ownPid));
}

void ProcessTree::FindProcessesByName(const std::wstring& name, ProcessList& list,
                                      const std::wstring& excludeName) const {
    VisitedProcesses visited;
    for (const auto& [pid, record] : byPid) {
        if (!EqualNames(record->exeName, name) || IsOwn(*record)) {
            continue;
        }
        const auto parent = byPid.find(record->parentPid);
        if (parent != byPid.end() && parent->first != ownPid &&
            EqualNames(parent->second->exeName, name)) {
            continue;
        }
        if (visited.count(pid) != 0) {
            continue;
        }
        list.push_back(record.get());
        visited[pid] = record.get();
        findChilds(*record, list, visited, excludeName);
    }
}

void ProcessTree::findChilds(const ProcessRecord& record, ProcessList& list,
                             VisitedProcesses& visited, const std::wstring& excludeName) const {
    processesUtilsLog.Info(L"findChilds: entry");
    const auto [first, last] = byParent.equal_range(record.pid);
    for (auto entry = first; entry != last; ++entry) {
        const ProcessRecord* child = entry->second;
        if (visited.count(child->pid) != 0 || child->pid == ownPid) {
            continue;
        }
        if (!excludeName.empty() &&
            EqualNames(WithoutExtension(child->exeName), WithoutExtension(excludeName))) {
            continue;
        }
        list.push_back(child);
        visited[child->pid] = child;
        findChilds(*child, list, visited, excludeName);
    }
}

void ProcessTree::FindProcessesByPath(const std::wstring& path, ProcessList& list) const {
    for (const auto& [pid, record] : byPid) {
        const std::wstring image = GetProcessFullName(pid);
        if (!image.empty() && IsPrefix(path, image) && !IsOwn(*record)) {
            list.push_back(record.get());
        }
    }
}

std::vector<ProcessRecord> ListProcesses() {
    std::vector<ProcessRecord> processes;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more;
         more = Process32NextW(snapshot, &entry)) {
        processes.push_back({entry.th32ProcessID, entry.th32ParentProcessID, entry.szExeFile});
    }
    CloseHandle(snapshot);
    return processes;
}

void WaitForProcess(int pid) {
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
}

bool WaitProcessForClose(const ProcessRecord& process) {
    processesUtilsLog.Info(L"WaitProcessForClose: wait " + Describe(process));
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, process.pid);
    if (handle == nullptr) {
        processesUtilsLog.Warn(L"WaitProcessForClose: OpenProcess error: " + LastErrorText());
        return true;
    }
    const DWORD result = WaitForSingleObject(handle, 5000);
    LogWaitResult(result);
    CloseHandle(handle);
    return result != WAIT_TIMEOUT;
}

void WaitProcessesForClose(const ProcessList& list) {
    processesUtilsLog.Info(L"WaitProcessesForClose: start");
    for (const ProcessRecord* process : list) {
        if (!WaitProcessForClose(*process)) {
            break;
        }
    }
    processesUtilsLog.Info(L"WaitProcessesForClose: Done");
}

void TerminateProcesses(const ProcessList& list) {
    for (const ProcessRecord* process : list) {
        processesUtilsLog.Info(L"TerminateProcesses: terminate " + Describe(*process));
        const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process->pid);
        if (handle == nullptr) {
            processesUtilsLog.Warn(L"TerminateProcesses: error of OpenProcess: " + LastErrorText());
            return;
        }
        if (!TerminateProcess(handle, 0)) {
            processesUtilsLog.Warn(L"TerminateProcesses: error of TerminateProcess: " +
                                   LastErrorText());
        }
        CloseHandle(handle);
    }
}

void KillAllProcessesByNameOrPath(const std::wstring& module, const std::wstring& path,
                                  const std::wstring& excludeName) {
    processesUtilsLog.Info(L"KillAllProcessesByNameOrPath: path [" + path + L"], module [" +
                           module + L"]");
    ProcessTree tree;
    ProcessList list;
    tree.FindProcessesByName(module, list, excludeName);
    TerminateProcesses(list);
    WaitProcessesForClose(list);

    list.clear();
    if (!path.empty()) {
        // A new look: what survived, and what has started in the meantime.
        tree.Clear();
        tree.TakeSnapshot();
        tree.FindProcessesByPath(path, list);
    }
    TerminateProcesses(list);
    WaitProcessesForClose(list);
    processesUtilsLog.Info(L"KillAllProcessesByNameOrPath: Done");
}

void WaitAppForCloseByPath(const std::wstring& path) {
    processesUtilsLog.Info(L"WaitAppForCloseByPath: " + path);
    if (path.empty()) {
        return;
    }
    ProcessTree tree;
    ProcessList list;
    tree.FindProcessesByPath(path, list);
    WaitProcessesForClose(list);
    processesUtilsLog.Info(L"WaitAppForCloseByPath: Done");
}

int GetRunProcessCount(const wchar_t* name) {
    if (name == nullptr) {
        return 0;
    }
    processesUtilsLog.Info(std::wstring(L"GetRunProcessCount: ") + name);
    int count = 0;
    for (const ProcessRecord& process : ListProcesses()) {
        count += EqualNames(process.exeName, name) ? 1 : 0;
    }
    processesUtilsLog.Info(L"GetRunProcessCount: " + DecimalText(count));
    return count;
}

std::wstring GetProcessFullName(DWORD pid) {
    if (pid == 0) {
        return {};
    }
    const HANDLE handle = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, pid);
    if (handle == nullptr) {
        // Other users' processes refuse as a rule, which is not worth a line.
        if (GetLastError() != ERROR_ACCESS_DENIED) {
            WarnAboutProcess(L"OpenProcess", pid);
        }
        return {};
    }
    wchar_t devicePath[MAX_PATH];
    std::wstring drivePath;
    if (K32GetProcessImageFileNameW(handle, devicePath, MAX_PATH) == 0) {
        WarnAboutProcess(L"GetProcessImageFileName", pid);
    } else {
        DevicePathToDrivePath(devicePath, drivePath);
    }
    CloseHandle(handle);
    return drivePath;
}

int DevicePathToDrivePath(const std::wstring& devicePath, std::wstring& drivePath) {
    for (wchar_t letter = L'A'; letter <= L'Z'; ++letter) {
        const std::wstring drive = {letter, L':'};
        wchar_t device[50];
        if (QueryDosDeviceW(drive.c_str(), device, 50) == 0 || device[0] == L'\0' ||
            !IsPrefix(device, devicePath)) {
            continue;
        }
        drivePath = drive + devicePath.substr(wcslen(device));
        return 1;
    }
    return 0;
}
