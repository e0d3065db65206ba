#include "kit/PackPlan.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "kit/Checksums.h"
#include "kit/Files.h"
#include "kit/Folders.h"
#include "kit/Stamp.h"
#include "kit/UpdateManifest.h"

namespace {

constexpr const char* archiveFolder = "download/win/";
constexpr std::uint32_t longestList = 16 << 20;
// The installer takes an address of fewer than 1024 characters. It is measured with the name of the
// longest architecture.
constexpr std::size_t longestUrl = 1023;

/// How the names of this product's archives of this version begin.
std::string ArchiveStart(const PackPlan& plan) {
    return Narrow(plan.product.identity.slug) + "-" + plan.app.version + "-";
}

ArchiveOffer MakeOffer(const PackPlan& plan, const std::string& arch, const std::string& hash) {
    const std::string place = "/" + ArchiveName(plan, arch);
    return {arch, plan.baseUrl + place, plan.altUrl.empty() ? "" : plan.altUrl + place, hash};
}

/// An existing file of the folder to publish; empty when there is none.
std::string ReadList(const PackJob& job, const char* name, Findings& findings) {
    if (job.out.empty()) {
        return {};
    }
    const std::wstring path = PathIn(RoomyPath(job.out), name);
    std::string content;
    const bool isFile = PathExists(path) && !IsFolder(path);
    const std::uint32_t error = isFile ? ReadWholeFile(path, longestList, content) : 0;
    if (error != 0) {
        AddError(findings, name, "", "cannot be read: " + DescribeError(error));
    }
    return content;
}

void CheckUrl(const PackPlan& plan, const char* option, const std::string& url,
              Findings& findings) {
    if (const Failure expected = JudgeUrl(Widen(url))) {
        AddError(findings, option, "", "is \"" + url + "\"; " + *expected);
    } else if (url.size() + 1 + ArchiveName(plan, "ia32").size() > longestUrl) {
        AddError(findings, option, "", "is too long; expected addresses below 1024 characters");
    }
}

void CheckArchitectures(const PackJob& job, PackPlan& plan, Findings& findings) {
    std::vector<std::string>& known = plan.architectures;
    for (const std::string& arch : job.architectures) {
        if (arch != "x64" && arch != "ia32") {
            AddError(findings, "--arch", "", "is \"" + arch + "\"; expected x64 or ia32");
        }
        if (std::find(known.begin(), known.end(), arch) == known.end()) {
            known.push_back(arch);
        }
    }
    if (known.empty() && !plan.app.arch.empty()) {
        known = {plan.app.arch};
    }
}

/// What stands where files and folders are to go must be of their kind.
void CheckOutputs(const std::wstring& out, const PackPlan& plan, Findings& findings) {
    std::vector<std::string> files = {OnlineName(plan), manifestName, checksumsName};
    for (const std::string& arch : plan.architectures) {
        files.push_back(ArchiveName(plan, arch));
        files.push_back(OfflineName(plan, arch));
    }
    for (const std::string& file : files) {
        if (IsFolder(PathIn(out, file))) {
            AddError(findings, file.c_str(), "", "is a folder; expected a file, or nothing there");
        }
    }
    for (const char* folder : {"download", "download/win"}) {
        const std::wstring path = PathIn(out, folder);
        if (PathExists(path) && !IsFolder(path)) {
            AddError(findings, folder, "", "is a file; expected a folder, or nothing there");
        }
    }
}

void CheckWritable(const std::wstring& out, Findings& findings) {
    const std::pair<std::wstring, const char*> folders[] = {
        {ParentOf(out), "the folder above it, where the work is done,"},
        {out, "the folder"},
        {PathIn(out, "download"), "download in it"},
        {PathIn(out, "download/win"), "download/win in it"}};
    for (const auto& [folder, name] : folders) {
        const std::uint32_t error = IsFolder(folder) ? TryToWrite(folder) : 0;
        if (error != 0) {
            AddError(findings, "--out", "",
                     std::string(name) + " cannot be written: " + DescribeError(error));
        }
    }
}

void CheckPlace(const PackJob& job, const PackPlan& plan, Findings& findings) {
    const std::wstring out = RoomyPath(job.out);
    const std::wstring app = LongPath(job.app) + L"\\", place = LongPath(job.out) + L"\\";
    if (PathExists(out) && !IsFolder(out)) {
        AddError(findings, "--out", "", "is a file; expected a folder to publish");
    } else if (!IsFolder(ParentOf(out))) {
        AddError(findings, "--out", "", "lies in no folder; expected the one above it");
    } else if (IsSamePath(place.substr(0, app.size()), app)) {
        AddError(findings, "--out", "",
                 "lies in the application's folder; expected another place, or it would be packed");
    } else {
        CheckWritable(out, findings);
        CheckOutputs(out, plan, findings);
    }
}

}  // namespace

PackPlan CheckPack(const PackJob& job, Findings& findings) {
    PackPlan plan;
    plan.product = ReadProductFolder(LongPath(job.product), job.settings, findings);
    const Identity& identity = plan.product.identity;
    if (const Failure failure = CheckStampJob({job.base, L"", L""})) {
        AddError(findings, "--base", "", *failure);
    }
    plan.app = ReadAppFolder(job.app, identity, job.architectures, findings);
    CheckArchitectures(job, plan, findings);
    const std::string server = Narrow(identity.baseUrl + identity.pathPrefix);
    plan.manifestUrl = server + "/" + manifestName;
    plan.baseUrl = job.baseUrl.empty() ? server : job.baseUrl;
    plan.altUrl = job.altUrl.empty() ? Narrow(identity.altUrl) : job.altUrl;
    if (!job.baseUrl.empty()) {
        CheckUrl(plan, "--base-url", plan.baseUrl, findings);
    }
    if (!job.altUrl.empty()) {
        CheckUrl(plan, "--alt-url", plan.altUrl, findings);
    }
    if (!job.out.empty()) {
        CheckPlace(job, plan, findings);
    }
    // Made for their findings on what stands there already.
    if (!plan.app.version.empty() && !identity.slug.empty()) {
        MakeManifest(job, plan, "", findings);
    }
    MakeChecksums(job, {}, findings);
    return plan;
}

std::string ArchiveName(const PackPlan& plan, const std::string& arch) {
    return archiveFolder + ArchiveStart(plan) + arch + ".zip";
}

std::string OnlineName(const PackPlan& plan) {
    return Narrow(plan.product.identity.displayName) + "Setup.exe";
}

std::string OfflineName(const PackPlan& plan, const std::string& arch) {
    return Narrow(plan.product.identity.displayName) + "Setup-" + plan.app.version + "-" + arch +
           "-offline.exe";
}

std::string MakeManifest(const PackJob& job, const PackPlan& plan, const std::string& hash,
                         Findings& findings) {
    std::vector<ArchiveOffer> offers;
    for (const std::string& arch : plan.architectures) {
        offers.push_back(MakeOffer(plan, arch, hash));
    }
    const std::string manifest =
        MergeManifest(ReadList(job, manifestName, findings), plan.app.version, offers, findings);
    CheckOffers(manifest, ArchiveStart(plan), findings);
    return manifest;
}

std::string MakeChecksums(const PackJob& job, const std::map<std::string, std::string>& made,
                          Findings& findings) {
    const auto isThere = [&job](const std::string& path) {
        return PathExists(PathIn(RoomyPath(job.out), path));
    };
    return MergeChecksums(ReadList(job, checksumsName, findings), made, isThere, findings);
}
