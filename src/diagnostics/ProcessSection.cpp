#include "diagnostics/ProcessSection.h"

#include <algorithm>

#include "base/DecimalText.h"
#include "processes/ProcessControl.h"

namespace {

class TreePrinter {
  public:
    explicit TreePrinter(const std::vector<ProcessEntry>& sorted) : processes(sorted) {}

    // Ends for any parent ids: processes that name each other as parents have a parent each, so
    // they are no roots and are never reached.
    void Print(const ProcessEntry& entry, const std::wstring& indent,
               const std::wstring& predecessor) {
        if (entry.exeName != predecessor) {
            text += indent + DecimalText(entry.parentPid) + L" " + DecimalText(entry.pid) + L" " +
                    entry.exeName + L" (" + entry.fullPath + L")\n";
        }
        std::wstring childPredecessor;
        // The first entry is the system's idle process, its own parent and nobody's child.
        for (std::size_t index = 1; index < processes.size(); ++index) {
            const ProcessEntry& child = processes[index];
            if (child.parentPid == entry.pid) {
                Print(child, indent + L"  ", childPredecessor);
                childPredecessor = child.exeName;
            }
        }
    }

    std::wstring text;

  private:
    const std::vector<ProcessEntry>& processes;
};

bool HasParent(const std::vector<ProcessEntry>& processes, const ProcessEntry& entry) {
    return std::any_of(processes.begin(), processes.end(), [&entry](const ProcessEntry& other) {
        return other.pid == entry.parentPid;
    });
}

}  // namespace

std::wstring GetProcessTree() {
    std::vector<ProcessEntry> processes;
    for (const ProcessRecord& process : ListProcesses()) {
        processes.push_back(
            {GetProcessFullName(process.pid), process.exeName, process.pid, process.parentPid});
    }
    return FormatProcessTree(std::move(processes));
}

std::wstring FormatProcessTree(std::vector<ProcessEntry> processes) {
    if (processes.empty()) {
        return {};
    }
    std::sort(processes.begin(), processes.end(),
              [](const ProcessEntry& a, const ProcessEntry& b) { return a.pid < b.pid; });
    TreePrinter printer(processes);
    printer.Print(processes.front(), L"", L"");
    std::wstring lastRoot;
    for (std::size_t index = 1; index < processes.size(); ++index) {
        const ProcessEntry& entry = processes[index];
        if (!HasParent(processes, entry)) {
            printer.Print(entry, L"", lastRoot);
            lastRoot = entry.exeName;
        }
    }
    return printer.text;
}
