#include "kit/Pack.h"

#include <windows.h>

#include <algorithm>
#include <future>
#include <map>
#include <utility>

#include "kit/Checksums.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/Sha256.h"
#include "kit/Stamp.h"
#include "kit/UpdateManifest.h"
#include "kit/ZipWriter.h"

namespace {

constexpr const char* archiveFolder = "download/win/";
constexpr std::uint32_t longestList = 16 << 20;
// The installer takes an address of fewer than 1024 characters.
constexpr std::size_t longestUrl = 1023;

std::wstring PathIn(const std::wstring& folder, std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return folder + L"\\" + Widen(path);
}

std::string ArchiveName(const PackPlan& plan, const std::string& arch) {
    return archiveFolder + Narrow(plan.product.identity.slug) + "-" + plan.app.version + "-" +
           arch + ".zip";
}

std::string OnlineName(const PackPlan& plan) {
    return Narrow(plan.product.identity.displayName) + "Setup.exe";
}

std::string OfflineName(const PackPlan& plan, const std::string& arch) {
    return Narrow(plan.product.identity.displayName) + "Setup-" + plan.app.version + "-" + arch +
           "-offline.exe";
}

ArchiveOffer MakeOffer(const PackPlan& plan, const std::string& arch, const std::string& hash) {
    const std::string place = "/" + ArchiveName(plan, arch);
    return {arch, plan.baseUrl + place, plan.altUrl.empty() ? "" : plan.altUrl + place, hash};
}

/// An existing file of the folder to publish; empty when there is none.
std::string ReadList(const PackJob& job, const char* name, Findings& findings) {
    const std::wstring path = PathIn(job.out, name);
    std::string content;
    const std::uint32_t error = PathExists(path) ? ReadWholeFile(path, longestList, content) : 0;
    if (error != 0) {
        AddError(findings, name, "", "cannot be read: " + DescribeError(error));
    }
    return content;
}

std::string MakeManifest(const PackJob& job, const PackPlan& plan, const std::string& hash,
                         Findings& findings) {
    std::vector<ArchiveOffer> offers;
    for (const std::string& arch : plan.architectures) {
        offers.push_back(MakeOffer(plan, arch, hash));
    }
    return MergeManifest(ReadList(job, manifestName, findings), plan.app.version, offers, findings);
}

std::string MakeChecksums(const PackJob& job, const std::map<std::string, std::string>& made,
                          Findings& findings) {
    const auto isThere = [&job](const std::string& path) {
        return PathExists(PathIn(job.out, path));
    };
    return MergeChecksums(ReadList(job, checksumsName, findings), made, isThere, findings);
}

void CheckUrl(const PackPlan& plan, const char* option, const std::string& url,
              Findings& findings) {
    const bool hasScheme = url.rfind("https://", 0) == 0 || url.rfind("http://", 0) == 0;
    const auto isOutside = [](char c) { return c <= 32 || c == 127; };
    if (!hasScheme || url.back() == '/' || url.find_first_of("?#\\\"") != std::string::npos ||
        std::any_of(url.begin(), url.end(), isOutside)) {
        AddError(findings, option, "",
                 "is \"" + url + "\"; expected https://HOST or http://HOST and a path, which " +
                     archiveFolder + " is put behind");
        // Longer than any architecture's.
    } else if (url.size() + 1 + ArchiveName(plan, "ia32").size() > longestUrl) {
        AddError(findings, option, "", "is too long; expected addresses below 1024 characters");
    }
}

void CheckPlaces(const PackJob& job, Findings& findings) {
    const std::string out = Narrow(job.out);
    if (PathExists(job.out) && !IsFolder(job.out)) {
        AddError(findings, out.c_str(), "", "is a file; expected a folder to publish");
    }
    if (!IsFolder(ParentOf(FullPath(job.out)))) {
        AddError(findings, out.c_str(), "", "lies in no folder; expected the one above it");
    }
    const std::wstring app = LongPath(job.app) + L"\\", place = LongPath(job.out) + L"\\";
    if (IsSamePath(place.substr(0, app.size()), app)) {
        AddError(findings, out.c_str(), "",
                 "lies in the application's folder; expected another place, or it would be packed");
    }
}

void CheckArchitectures(const PackJob& job, PackPlan& plan, Findings& findings) {
    plan.architectures = job.architectures;
    for (const std::string& arch : plan.architectures) {
        if (arch != "x64" && arch != "ia32") {
            AddError(findings, "--arch", "", "is \"" + arch + "\"; expected x64 or ia32");
        }
    }
    if (plan.architectures.empty() && plan.app.arch.empty()) {
        AddError(findings, "--arch", "", "is missing; expected x64 or ia32, the application's own");
    } else if (plan.architectures.empty()) {
        plan.architectures = {plan.app.arch};
    }
}

/// The parts of one run of MakePack.
struct Work {
    struct Hash {
        std::uint32_t error;
        std::string hex;
    };

    const PackJob& job;
    const PackPlan& plan;
    std::wstring folder;
    std::vector<std::string> paths = {};  // in the order in which they are published
    std::map<std::string, std::future<Hash>> pending = {};
    std::map<std::string, std::string> hashes = {};  // by path

    std::wstring PathOf(const std::string& path) const {
        return PathIn(folder, path);
    }

    /// Notes a finished file. Its checksum is computed while the next one is made.
    void Note(const std::string& path) {
        paths.push_back(path);
        pending[path] = std::async(std::launch::async, [file = PathOf(path)] {
            Hash hash;
            hash.error = HashFile(file, hash.hex);
            return hash;
        });
    }

    /// Fills `hashes`. Returns an empty text, or what failed.
    std::string CollectHashes() {
        for (auto& [path, future] : pending) {
            const Hash hash = future.get();
            if (hash.error != 0) {
                return path + ": cannot be read back: " + DescribeError(hash.error);
            }
            hashes[path] = hash.hex;
        }
        pending.clear();
        return {};
    }
};

std::string WriteText(const Work& work, const std::string& path, const std::string& text) {
    const HANDLE file = CreateFileW(work.PathOf(path).c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const bool isWritten =
        file != INVALID_HANDLE_VALUE &&
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    const DWORD error = GetLastError();
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
    return isWritten ? "" : path + ": cannot be written: " + DescribeError(error);
}

std::string MakeSetup(Work& work, const std::string& path, const std::wstring& archive) {
    std::vector<StampedPart> parts;
    const std::string wrong =
        StampProduct({work.job.base, archive, work.PathOf(path)}, work.plan.product, parts);
    if (wrong.empty()) {
        work.Note(path);
    }
    return wrong;
}

std::vector<ZipItem> ListItems(const Work& work) {
    const AppFolder& app = work.plan.app;
    std::vector<ZipItem> items;
    for (std::size_t i = 0; i < app.entries.size(); ++i) {
        const AppEntry& entry = app.entries[i];
        const bool holdsSomething =
            i + 1 < app.entries.size() && app.entries[i + 1].path.rfind(entry.path + L"/", 0) == 0;
        if (entry.isFolder && holdsSomething) {
            continue;
        }
        std::string name = Narrow(entry.path);
        items.push_back(
            {entry.isFolder ? name + "/" : name, PathIn(app.root, name), entry.written});
    }
    // Its own time would make each pack another one.
    if (!app.hasUninstaller) {
        items.push_back(
            {"uninstall.exe", work.PathOf(OnlineName(work.plan)), items.front().written});
    }
    return items;
}

std::string MakeArchives(Work& work) {
    std::string first;
    for (const std::string& arch : work.plan.architectures) {
        const std::string path = ArchiveName(work.plan, arch);
        std::string wrong;
        if (first.empty()) {
            wrong = WriteZip(work.PathOf(path), ListItems(work));
        } else if (!CopyFileW(work.PathOf(first).c_str(), work.PathOf(path).c_str(), FALSE)) {
            wrong = path + ": cannot be copied: " + DescribeError(GetLastError());
        }
        if (!wrong.empty()) {
            return wrong;
        }
        work.Note(path);
        wrong = MakeSetup(work, OfflineName(work.plan, arch), work.PathOf(path));
        if (!wrong.empty()) {
            return wrong;
        }
        first = path;
    }
    return {};
}

/// The manifest comes behind what it offers.
std::string MakeLists(Work& work) {
    Findings findings;
    std::string wrong = work.CollectHashes();
    if (!wrong.empty()) {
        return wrong;
    }
    const std::string& hash = work.hashes[ArchiveName(work.plan, work.plan.architectures.front())];
    wrong = WriteText(work, manifestName, MakeManifest(work.job, work.plan, hash, findings));
    if (!wrong.empty()) {
        return wrong;
    }
    work.Note(manifestName);
    wrong = work.CollectHashes();
    if (wrong.empty()) {
        wrong = WriteText(work, checksumsName, MakeChecksums(work.job, work.hashes, findings));
    }
    work.paths.push_back(checksumsName);
    // They were in order when they were checked.
    return wrong.empty() && HasErrors(findings) ? FormatFinding(findings.front()) : wrong;
}

std::string MakeAll(Work& work) {
    std::vector<std::wstring> made;
    const std::uint32_t error = MakeFolders(work.PathOf("download/win"), made);
    if (error != 0) {
        return Narrow(work.folder) + ": cannot be made: " + DescribeError(error);
    }
    std::string wrong = MakeSetup(work, OnlineName(work.plan), L"");
    if (wrong.empty()) {
        wrong = MakeArchives(work);
    }
    if (wrong.empty()) {
        wrong = MakeLists(work);
    }
    return wrong;
}

}  // namespace

PackPlan CheckPack(const PackJob& job, Findings& findings) {
    PackPlan plan;
    plan.product = ReadProductFolder(job.product, findings);
    const Identity& identity = plan.product.identity;
    const std::string wrong = CheckStampJob({job.base, L"", L""});
    if (!wrong.empty()) {
        AddError(findings, "--base", "", wrong);
    }
    plan.app = ReadAppFolder(job.app, identity.displayName, job.architectures, findings);
    CheckArchitectures(job, plan, findings);
    const std::string server = Narrow(identity.baseUrl + identity.pathPrefix);
    plan.manifestUrl = server + "/" + manifestName;
    plan.baseUrl = job.baseUrl.empty() ? server : job.baseUrl;
    plan.altUrl = job.altUrl;
    if (!job.baseUrl.empty()) {
        CheckUrl(plan, "--base-url", plan.baseUrl, findings);
    }
    if (!job.altUrl.empty()) {
        CheckUrl(plan, "--alt-url", plan.altUrl, findings);
    }
    CheckPlaces(job, findings);
    MakeManifest(job, plan, "", findings);
    MakeChecksums(job, {}, findings);
    return plan;
}

std::string MakePack(const PackJob& job, const PackPlan& plan, std::vector<PackedFile>& files) {
    files.clear();
    const std::wstring out = FullPath(job.out);
    Work work = {job, plan, out + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp"};
    std::string wrong = MakeAll(work);
    for (const std::string& path : work.paths) {
        files.push_back({path, ReadFileSize(work.PathOf(path))});
    }
    if (wrong.empty()) {
        std::vector<std::wstring> paths;
        for (const std::string& path : work.paths) {
            paths.push_back(Widen(path));
        }
        wrong = MoveInto(work.folder, out, paths);
    }
    RemoveFolder(work.folder);
    return wrong;
}
