#include "kit/AppEntries.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <map>

#include "kit/FileNames.h"
#include "kit/Files.h"
#include "kit/ZipWriter.h"

namespace {

constexpr std::size_t longestUserName = 20;
constexpr std::size_t longestFilePath = 259, longestFolderPath = 247;
constexpr std::uint64_t mostFileBytes = 0xFFFFFFFE;

// What an archive spends on an entry beside its bytes and twice its name, which is all ASCII as a
// rule: the two headers.
constexpr std::uint64_t headerBytes = 76;

void Refuse(Findings& findings, const AppEntry& entry, const std::string& message) {
    AddError(findings, Narrow(entry.path).c_str(), "", message);
}

/// How many characters stand in front of an application's files at most.
std::size_t CountCharactersInFront(const std::wstring& displayName, const std::string& version) {
    const std::size_t local =
        std::wcslen(L"C:\\Users\\") + longestUserName + std::wcslen(L"\\AppData\\Local\\");
    const std::size_t installed = displayName.size() + 1 + version.size() + std::wcslen(L".BKP\\");
    const std::size_t unpacked =
        std::wcslen(L"Temp\\") + displayName.size() + std::wcslen(L".TEMP\\");
    return local + std::max(installed, unpacked);
}

void CheckEntry(const AppEntry& entry, std::size_t inFront, Findings& findings) {
    // The folders above it are entries of their own.
    if (const Failure expected = JudgeFileName(LastName(entry.path))) {
        Refuse(findings, entry, *expected);
    }
    if (entry.isLink) {
        Refuse(findings, entry, "is a link; expected a file or folder of its own");
    }
    const std::size_t length = inFront + entry.path.size();
    const std::size_t longest = entry.isFolder ? longestFolderPath : longestFilePath;
    if (length > longest) {
        Refuse(findings, entry,
               "has " + std::to_string(entry.path.size()) + " characters; expected at most " +
                   std::to_string(longest - inFront) + ", or the path is too long where a user " +
                   "with a long name installs it");
    }
    if (entry.bytes > mostFileBytes) {
        Refuse(findings, entry, "has 4 GiB or more; expected less");
    }
}

void CheckClashes(const std::vector<AppEntry>& entries, Findings& findings) {
    std::map<std::wstring, const AppEntry*> known;
    for (const AppEntry& entry : entries) {
        std::wstring folded = entry.path;
        CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
        const auto [place, isNew] = known.try_emplace(folded, &entry);
        if (!isNew) {
            Refuse(findings, entry,
                   "is the same to Windows as " + Narrow(place->second->path) +
                       "; expected names that differ in more than case");
        }
    }
}

void CheckSize(const std::vector<AppEntry>& entries, Findings& findings) {
    std::uint64_t size = 0;
    for (const AppEntry& entry : entries) {
        size += entry.packed + headerBytes + 2 * entry.path.size();
    }
    if (size >= archiveLimit) {
        AddError(
            findings, "application", "size",
            "is about " + std::to_string(size >> 20) + " MiB when packed; expected less than 2048");
    }
    if (entries.size() > mostEntries) {
        AddError(findings, "application", "entries",
                 "are " + std::to_string(entries.size()) + "; expected at most " +
                     std::to_string(mostEntries));
    }
}

}  // namespace

std::wstring LastName(const std::wstring& path) {
    return path.substr(path.rfind(L'/') + 1);
}

bool IsSamePath(const std::wstring& a, const std::wstring& b) {
    return CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_EQUAL;
}

void CheckAppEntries(const std::vector<AppEntry>& entries, const std::wstring& displayName,
                     const std::string& version, Findings& findings) {
    const std::size_t inFront = CountCharactersInFront(displayName, version);
    for (const AppEntry& entry : entries) {
        CheckEntry(entry, inFront, findings);
    }
    CheckClashes(entries, findings);
    CheckSize(entries, findings);
}
