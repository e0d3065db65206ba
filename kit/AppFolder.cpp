#include "kit/AppFolder.h"

#include <windows.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "kit/FileNames.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/PackedSize.h"
#include "kit/PeFile.h"
#include "kit/Stamp.h"
#include "kit/ZipWriter.h"

namespace {

using nlohmann::json;

constexpr const char* packageName = "resources/app/package.json";
constexpr const wchar_t* uninstallerName = L"uninstall.exe";
constexpr std::uint32_t longestPackage = 16 << 20;

std::wstring SourceOf(const AppFolder& app, std::wstring path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return app.root + L"\\" + path;
}

/// Adds what lies in a folder, `prefix` being its relative path and a slash, or empty.
void Walk(AppFolder& app, const std::wstring& prefix, Findings& findings) {
    WIN32_FIND_DATAW found;
    const HANDLE find = FindFirstFileW(SourceOf(app, prefix + L"*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        AddError(findings, Narrow(L"./" + prefix).c_str(), "",
                 "cannot be read: " + DescribeError(error));
        return;
    }
    std::vector<AppEntry> entries;
    do {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..") {
            continue;
        }
        AppEntry entry;
        entry.path = prefix + name;
        entry.isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        entry.isLink = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (!entry.isFolder) {
            entry.bytes =
                static_cast<std::uint64_t>(found.nFileSizeHigh) << 32 | found.nFileSizeLow;
        }
        entry.packed = entry.bytes;
        entry.written = static_cast<std::uint64_t>(found.ftLastWriteTime.dwHighDateTime) << 32 |
                        found.ftLastWriteTime.dwLowDateTime;
        entries.push_back(entry);
    } while (FindNextFileW(find, &found));
    FindClose(find);
    for (const AppEntry& entry : entries) {
        app.entries.push_back(entry);
        if (entry.isFolder && !entry.isLink) {
            Walk(app, entry.path + L"/", findings);
        }
    }
}

/// Opens every file, so that one that cannot be read is told before anything is written. The
/// estimate costs some reading and is made only where the sizes alone do not tell.
void OpenFiles(AppFolder& app, Findings& findings) {
    std::uint64_t whole = 0;
    for (const AppEntry& entry : app.entries) {
        whole += entry.bytes;
    }
    for (AppEntry& entry : app.entries) {
        if (entry.isFolder || entry.isLink || JudgeFileName(LastName(entry.path))) {
            continue;
        }
        const File file = OpenToRead(SourceOf(app, entry.path));
        if (!file) {
            const DWORD error = GetLastError();
            AddError(findings, Narrow(entry.path).c_str(), "",
                     "cannot be opened: " + DescribeError(error));
        } else if (whole >= archiveLimit) {
            entry.packed = EstimatePacked(file.get(), entry.bytes);
        }
    }
}

const AppEntry* Find(const AppFolder& app, const std::wstring& path) {
    const auto entry = std::find_if(
        app.entries.begin(), app.entries.end(),
        [&path](const AppEntry& candidate) { return IsSamePath(candidate.path, path); });
    return entry == app.entries.end() ? nullptr : &*entry;
}

/// Three numbers up to 999, written as the installer writes them: it takes nothing else as equal.
bool IsVersion(const std::string& text) {
    unsigned numbers = 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('.', start), text.size());
        const std::string number = text.substr(start, end - start);
        if (number.empty() || number.size() > 3 || (number[0] == '0' && number != "0") ||
            number.find_first_not_of("0123456789") != std::string::npos) {
            return false;
        }
        ++numbers;
        start = end + 1;
    }
    return numbers == 3;
}

void ReadPackage(AppFolder& app, Findings& findings) {
    std::string content;
    const std::uint32_t error =
        ReadWholeFile(SourceOf(app, Widen(packageName)), longestPackage, content);
    if (error != 0) {
        AddError(findings, packageName, "", "cannot be read: " + DescribeError(error));
        return;
    }
    const json package = json::parse(content, nullptr, false);
    if (!package.is_object()) {
        AddError(findings, packageName, "", "is no JSON object");
        return;
    }
    const auto version = package.find("version");
    if (version == package.end() || !version->is_string()) {
        AddError(findings, packageName, "version", "is missing; expected a string such as 1.2.3");
    } else if (const std::string text = *version; !IsVersion(text)) {
        AddError(findings, packageName, "version",
                 "is \"" + text + "\"; expected three numbers up to 999, such as 1.2.3");
    } else {
        app.version = text;
    }
    if (package.contains("windows")) {
        AddError(findings, packageName, "windows",
                 "is there; expected no such key, the installer takes it for a list of archives");
    }
}

/// The system's own name for a kind of processor, or empty when we have no archives for it.
std::string ArchOf(std::uint16_t machine) {
    return machine == IMAGE_FILE_MACHINE_AMD64  ? "x64"
           : machine == IMAGE_FILE_MACHINE_I386 ? "ia32"
                                                : "";
}

/// Returns whether it fits.
bool CheckProgram(const AppFolder& app, const std::wstring& path, const char* role,
                  const std::vector<std::string>& architectures, Findings& findings) {
    const std::uint16_t machine = ReadMachine(SourceOf(app, path));
    const bool isFor32 = std::count(architectures.begin(), architectures.end(), "ia32") > 0;
    Failure failure;
    if (Find(app, path) == nullptr) {
        failure = std::string("is missing; expected ") + role + " at the folder's top level";
    } else if (machine == 0) {
        failure = "is no Windows program";
    } else if (ArchOf(machine).empty()) {
        failure = "is for another processor; expected a program for x64 or ia32";
    } else if (ArchOf(machine) == "x64" && isFor32) {
        failure = "is a 64-bit program; expected a 32-bit one for the architecture ia32";
    }
    if (failure) {
        AddError(findings, Narrow(path).c_str(), "", *failure);
    }
    return !failure;
}

/// Looks for the application's program, which may lie deeper, and notes what it is for.
void CheckApplication(AppFolder& app, const std::wstring& name,
                      const std::vector<std::string>& architectures, Findings& findings) {
    const AppEntry* found = Find(app, name);
    for (const AppEntry& entry : app.entries) {
        if (found == nullptr && !entry.isFolder && IsSamePath(LastName(entry.path), name)) {
            found = &entry;
        }
    }
    if (found != nullptr) {
        CheckProgram(app, found->path, "the application", architectures, findings);
        app.arch = ArchOf(ReadMachine(SourceOf(app, found->path)));
    } else if (architectures.empty()) {
        AddError(findings, Narrow(name).c_str(), "",
                 "is missing; expected the application's program, or --arch, which tells what the "
                 "application is for");
    } else {
        AddWarning(findings, Narrow(name).c_str(), "",
                   "is missing; expected the application's program, whose processes the installer "
                   "waits for and ends by this name");
    }
}

void CheckUninstaller(const AppFolder& app, const Identity& identity, Findings& findings) {
    const StampedProduct made = ReadStampedProduct(SourceOf(app, uninstallerName));
    const std::string file = Narrow(uninstallerName);
    if (made.guid.empty()) {
        AddError(findings, file.c_str(), "",
                 "is no setup program; expected the product's own, or none, to have it put in");
    } else if (!identity.guid.empty() && !identity.displayName.empty() &&
               (made.guid != identity.guid || made.displayName != identity.displayName)) {
        AddError(findings, file.c_str(), "",
                 "is the setup program of " + Narrow(made.displayName + L" " + made.guid) +
                     "; expected this product's");
    } else {
        AddWarning(findings, file.c_str(), "",
                   "is packed as it is; without it the online setup is put in");
    }
}

void CheckPrograms(AppFolder& app, const Identity& identity, std::vector<std::string> architectures,
                   Findings& findings) {
    // What the others have to be is told by the application's own.
    if (!identity.displayName.empty()) {
        CheckApplication(app, identity.displayName + L".exe", architectures, findings);
        if (architectures.empty() && !app.arch.empty()) {
            architectures = {app.arch};
        }
        CheckProgram(app, identity.displayName + L"Starter.exe", "the starter", architectures,
                     findings);
    }
    CheckProgram(app, L"syspin.exe", "the pin tool", architectures, findings);
    app.hasUninstaller = Find(app, uninstallerName) != nullptr;
    if (app.hasUninstaller &&
        CheckProgram(app, uninstallerName, "the uninstaller", architectures, findings)) {
        CheckUninstaller(app, identity, findings);
    }
}

void WarnOfVersionControl(const AppFolder& app, Findings& findings) {
    for (const AppEntry& entry : app.entries) {
        const std::wstring name = LastName(entry.path);
        if (IsSamePath(name, L".git") || IsSamePath(name, L".svn") || IsSamePath(name, L".hg")) {
            AddWarning(findings, Narrow(entry.path).c_str(), "",
                       "belongs to version control; it is packed with the rest");
        }
    }
}

}  // namespace

AppFolder ReadAppFolder(const std::wstring& folder, const Identity& identity,
                        const std::vector<std::string>& architectures, Findings& findings) {
    AppFolder app;
    app.root = LongPath(folder);
    if (!IsFolder(app.root)) {
        AddError(findings, Narrow(folder).c_str(), "", "is no folder; expected the application");
        return app;
    }
    Walk(app, L"", findings);
    OpenFiles(app, findings);
    ReadPackage(app, findings);
    CheckPrograms(app, identity, architectures, findings);
    WarnOfVersionControl(app, findings);
    CheckAppEntries(app.entries, identity.displayName, app.version, findings);
    return app;
}
