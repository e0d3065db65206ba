#include "services/Manifest.h"

#include "base/Bitness.h"
#include "fs/FilePrimitives.h"
#include "services/JsonTree.h"

namespace {

using Json = nlohmann::json;

std::string StringOrEmpty(Json& object, const char* key) {
    Json& value = object[key];
    return value.is_string() ? value.get<std::string>() : std::string();
}

int ReadManifest(const std::string& text, Manifest& manifest) {
    Json root;
    if (!ParseJson(text, root)) {
        return -1;
    }
    Json& version = root["version"];
    if (!version.is_string()) {
        return -1;
    }
    manifest.version.Parse(version.get<std::string>().c_str());
    Json& archives = root["windows"];
    if (!archives.is_array()) {
        return 0;
    }
    for (std::size_t index = 0; index < archives.size(); ++index) {
        Json& archive = archives[index];
        ManifestEntry entry;
        entry.url = StringOrEmpty(archive, "url");
        entry.altUrl = StringOrEmpty(archive, "altUrl");
        entry.arch = StringOrEmpty(archive, "arch");
        entry.hash = StringOrEmpty(archive, "hash");
        manifest.entries.push_back(entry);
    }
    return 0;
}

}  // namespace

int ParseManifest(const wchar_t* path, Manifest* manifest) {
    if (path == nullptr || manifest == nullptr) {
        return -1;
    }
    try {
        std::string text;
        return ReadTextFile(path, text) < 0 ? -1 : ReadManifest(text, *manifest);
    } catch (...) {
        return -1;
    }
}

const ManifestEntry* SelectManifestEntry(const Manifest& manifest) {
    return SelectManifestEntry(manifest, Is64BitSystem());
}

const ManifestEntry* SelectManifestEntry(const Manifest& manifest, bool is64BitSystem) {
    const char* wanted = is64BitSystem ? "x64" : "ia32";
    for (const ManifestEntry& entry : manifest.entries) {
        if (entry.arch == wanted) {
            return &entry;
        }
    }
    return manifest.entries.empty() ? nullptr : &manifest.entries.front();
}
