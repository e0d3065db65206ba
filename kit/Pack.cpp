#include "kit/Pack.h"

#include <windows.h>

#include <algorithm>
#include <future>
#include <map>

#include "kit/Checksums.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/Sha256.h"
#include "kit/Stamp.h"
#include "kit/UpdateManifest.h"
#include "kit/WorkFolder.h"
#include "kit/ZipWriter.h"

namespace {

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

    /// Fills `hashes`.
    Failure CollectHashes() {
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

Failure WriteText(const Work& work, const std::string& path, const std::string& text) {
    const std::uint32_t error = WriteWholeFile(work.PathOf(path), text);
    return error == 0 ? Failure() : path + ": cannot be written: " + DescribeError(error);
}

Failure MakeSetup(Work& work, const std::string& path, const std::wstring& archive) {
    std::vector<StampedPart> parts;
    const Failure failure =
        StampProduct({work.job.base, archive, work.PathOf(path)}, work.plan.product, parts);
    if (!failure) {
        work.Note(path);
    }
    return failure;
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

/// Makes the first archive, and copies it for other architectures.
Failure MakeArchives(Work& work) {
    std::string first;
    for (const std::string& arch : work.plan.architectures) {
        const std::string path = ArchiveName(work.plan, arch);
        Failure failure;
        if (first.empty()) {
            failure = WriteZip(work.PathOf(path), ListItems(work));
        } else if (!CopyFileW(work.PathOf(first).c_str(), work.PathOf(path).c_str(), FALSE)) {
            failure = path + ": cannot be copied: " + DescribeError(GetLastError());
        }
        if (failure) {
            return failure;
        }
        work.Note(path);
        failure = MakeSetup(work, OfflineName(work.plan, arch), work.PathOf(path));
        if (failure) {
            return failure;
        }
        first = path;
    }
    return {};
}

/// The manifest comes behind what it offers.
Failure MakeLists(Work& work) {
    Findings findings;
    if (Failure failure = work.CollectHashes()) {
        return failure;
    }
    const std::string& hash = work.hashes[ArchiveName(work.plan, work.plan.architectures.front())];
    const std::string manifest = MakeManifest(work.job, work.plan, hash, findings);
    if (Failure failure = WriteText(work, manifestName, manifest)) {
        return failure;
    }
    work.Note(manifestName);
    if (Failure failure = work.CollectHashes()) {
        return failure;
    }
    const std::string checksums = MakeChecksums(work.job, work.hashes, findings);
    if (Failure failure = WriteText(work, checksumsName, checksums)) {
        return failure;
    }
    work.paths.push_back(checksumsName);
    // They were in order when they were checked.
    return HasErrors(findings) ? FormatFinding(findings.front()) : Failure();
}

Failure MakeAll(Work& work) {
    std::vector<std::wstring> made;
    const std::uint32_t error = MakeFolders(work.PathOf("download/win"), made);
    if (error != 0) {
        return "download/win: cannot be made: " + DescribeError(error);
    }
    if (Failure failure = MakeSetup(work, OnlineName(work.plan), L"")) {
        return failure;
    }
    if (Failure failure = MakeArchives(work)) {
        return failure;
    }
    return MakeLists(work);
}

/// A line that begins with a path in this folder, with the path as it is seen from there.
std::string Shorten(const std::string& line, const std::wstring& folder) {
    const std::string prefix = Narrow(folder) + "\\";
    if (!line.starts_with(prefix)) {
        return line;
    }
    std::string rest = line.substr(prefix.size());
    std::replace(rest.begin(), rest.begin() + std::min(rest.find(": "), rest.size()), '\\', '/');
    return rest;
}

}  // namespace

Failure MakePack(const PackJob& job, const PackPlan& plan, std::vector<PackedFile>& files) {
    files.clear();
    const std::wstring out = RoomyPath(job.out);
    WorkFolder folder;
    const std::uint32_t error = OpenWorkFolder(out, folder);
    if (error != 0) {
        return "the folder for the work cannot be made beside --out: " + DescribeError(error);
    }
    Work work = {job, plan, folder.path};
    Failure failure = MakeAll(work);
    for (const std::string& path : work.paths) {
        files.push_back({path, ReadFileSize(work.PathOf(path))});
    }
    if (!failure) {
        failure = MoveInto(work.folder, out, work.paths);
    }
    // Waits for those that are read still: they could not be removed.
    work.pending.clear();
    CloseWorkFolder(folder);
    return failure ? Shorten(Shorten(*failure, folder.path), plan.app.root) : Failure();
}
