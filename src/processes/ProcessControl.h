#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// Finding, ending and waiting for processes. Everything works on a snapshot: a process that starts
/// later is not seen, one that has ended since fails to open and costs a WARN line. Names are
/// compared whole and without case, paths as prefixes without case, whatever stands behind the
/// prefix. The searches leave out this process and its report writer, which is a child with the
/// same image, so that nothing ends them or waits for them.

struct ProcessRecord {
    DWORD pid = 0;
    DWORD parentPid = 0;
    /// File name with its extension, no folder.
    std::wstring exeName;
};

/// Points into a ProcessTree, valid until that is cleared or destroyed.
using ProcessList = std::vector<const ProcessRecord*>;
using VisitedProcesses = std::unordered_map<DWORD, const ProcessRecord*>;

class ProcessTree {
  public:
    /// Takes a snapshot; it is empty when the system gives none.
    ProcessTree();
    /// A tree of the given processes, in which `ownPid` is this one.
    ProcessTree(const std::vector<ProcessRecord>& processes, DWORD ownPid);

    void TakeSnapshot();
    void Clear();

    /// Appends the processes of that name, each followed by its descendants, depth first, each
    /// once. A process whose parent has the same name is reached through it. A descendant whose
    /// name without extension equals that of `excludeName` is left out with all below it.
    void FindProcessesByName(const std::wstring& name, ProcessList& list,
                             const std::wstring& excludeName) const;
    void findChilds(const ProcessRecord& record, ProcessList& list, VisitedProcesses& visited,
                    const std::wstring& excludeName) const;
    /// Appends the processes whose image lies under `path`, as far as their images can be read.
    void FindProcessesByPath(const std::wstring& path, ProcessList& list) const;

    std::unordered_map<DWORD, std::unique_ptr<ProcessRecord>> byPid;
    std::unordered_multimap<DWORD, const ProcessRecord*> byParent;

  private:
    void Add(const ProcessRecord& record);
    /// This process, or its report writer.
    bool IsOwn(const ProcessRecord& record) const;

    DWORD ownPid;
};

/// All processes of the machine; none when the system gives no list.
std::vector<ProcessRecord> ListProcesses();

/// Waits, without a time limit, until the process has ended; one that cannot be opened counts as
/// ended.
void WaitForProcess(int pid);

/// Waits up to 5 seconds. False only after those; a process that cannot be opened counts as gone.
bool WaitProcessForClose(const ProcessRecord& process);

/// Waits for one after the other and stops at the first that does not end in time.
void WaitProcessesForClose(const ProcessList& list);

/// Ends one after the other, with exit code 0, and stops at the first that cannot be opened.
void TerminateProcesses(const ProcessList& list);

/// Ends the processes named `module` with their descendants and, after a new snapshot, those under
/// `path` when that is not empty; waits for each group.
void KillAllProcessesByNameOrPath(const std::wstring& module, const std::wstring& path,
                                  const std::wstring& excludeName);

/// Waits for the processes under `path`; an empty path waits for none.
void WaitAppForCloseByPath(const std::wstring& path);

/// Number of running processes whose file name, extension included, is `name`; 0 for null.
int GetRunProcessCount(const wchar_t* name);

/// Full path of a process's image in drive-letter form; empty for process id 0, for one that
/// refuses access and for a drive without letter.
std::wstring GetProcessFullName(DWORD pid);

/// Turns "\Device\HarddiskVolume3\dir\x.exe" into "C:\dir\x.exe", with the first letter whose
/// device is a prefix. 1, or 0 with `drivePath` untouched.
int DevicePathToDrivePath(const std::wstring& devicePath, std::wstring& drivePath);
