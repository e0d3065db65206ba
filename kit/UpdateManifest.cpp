#include "kit/UpdateManifest.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::array<int, 3> ReadNumbers(const std::string& version) {
    std::array<int, 3> numbers = {};
    std::sscanf(version.c_str(), "%d.%d.%d", &numbers[0], &numbers[1], &numbers[2]);
    return numbers;
}

/// Whether the manifest can be added to; what is wrong with it goes into the findings.
bool IsUsable(const Json& manifest, Findings& findings) {
    const auto version = manifest.find("version");
    if (version == manifest.end() || !version->is_string()) {
        AddError(findings, manifestName, "version",
                 "is missing; expected a string, or no file at all");
        return false;
    }
    const auto windows = manifest.find("windows");
    if (windows == manifest.end()) {
        return true;
    }
    const auto isEntry = [](const Json& entry) {
        return entry.is_object() && entry.contains("arch") && entry["arch"].is_string();
    };
    if (windows->is_array() && std::all_of(windows->begin(), windows->end(), isEntry)) {
        return true;
    }
    AddError(findings, manifestName, "windows", "expected an array of objects with an \"arch\"");
    return false;
}

Json ReadExisting(std::string_view text, const std::string& version, Findings& findings) {
    if (text.empty()) {
        return Json::object();
    }
    Json manifest = Json::parse(text, nullptr, false);
    if (!manifest.is_object()) {
        AddError(findings, manifestName, "", "is no JSON object; expected a manifest or no file");
        return Json::object();
    }
    if (!IsUsable(manifest, findings)) {
        return Json::object();
    }
    const std::string existing = manifest["version"];
    if (existing == version) {
        return manifest;
    }
    if (ReadNumbers(existing) > ReadNumbers(version)) {
        AddWarning(findings, manifestName, "version",
                   "is " + existing + " already, which is newer than " + version +
                       "; expected a higher version in package.json");
    }
    return Json::object();
}

Json EncodeOffer(const ArchiveOffer& offer) {
    Json entry = {{"url", offer.url}};
    if (!offer.altUrl.empty()) {
        entry["altUrl"] = offer.altUrl;
    }
    entry["arch"] = offer.arch;
    entry["hash"] = offer.hash;
    return entry;
}

}  // namespace

std::string MergeManifest(std::string_view existing, const std::string& version,
                          const std::vector<ArchiveOffer>& offers, Findings& findings) {
    Json manifest = ReadExisting(existing, version, findings);
    manifest["version"] = version;
    std::vector<Json> entries;
    if (manifest.contains("windows")) {
        entries.assign(manifest["windows"].begin(), manifest["windows"].end());
    }
    for (const ArchiveOffer& offer : offers) {
        std::erase_if(entries, [&offer](const Json& entry) { return entry["arch"] == offer.arch; });
        entries.push_back(EncodeOffer(offer));
    }
    // A system that finds no archive of its own takes the first: the one that runs everywhere.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Json& a, const Json& b) { return a["arch"] < b["arch"]; });
    manifest["windows"] = entries;
    return manifest.dump(2) + "\n";
}

void CheckOffers(const std::string& manifest, const std::string& nameStart, Findings& findings) {
    const Json parsed = Json::parse(manifest);
    for (const Json& entry : parsed["windows"]) {
        const auto url = entry.find("url");
        const std::string address = url != entry.end() && url->is_string() ? *url : "";
        const std::string name = address.substr(address.rfind('/') + 1);
        if (!name.starts_with(nameStart)) {
            std::string message = "offers \"" + name + "\" for ";
            message.append(entry["arch"]).append("; expected a name that begins with ");
            message.append(nameStart).append(", or another --out for another product");
            AddError(findings, manifestName, "windows", std::move(message));
        }
    }
}
