#include "services/Manifest.h"

#include <gtest/gtest.h>

#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

// The version and the entries of a manifest file of this text, or what it came to.
std::string Read(const std::string& text) {
    const ScratchFolder scratch;
    WriteFileText(scratch / L"file", text);
    Manifest manifest;
    if (const int result = ParseManifest((scratch / L"file").c_str(), &manifest); result != 0) {
        return std::to_string(result);
    }
    std::string read = manifest.version.text;
    for (const auto& [url, altUrl, hash, arch] : manifest.entries) {
        read += " [" + url + "|" + altUrl + "|" + hash + "|" + arch + "]";
    }
    return read;
}

}  // namespace

TEST(ParseManifest, TakesTextsAndRefusesOtherFiles) {
    const std::string version = R"({"version":"1.2.3")";
    const std::pair<std::string, std::string> cases[] = {
        {version + "}", "1.2.3"},
        {"\xEF\xBB\xBF" + version + "}", "1.2.3"},
        {R"({"name":"x","version":"any text"})", "-1.-1.-1"},
        {version + R"(,"windows":[]})", "1.2.3"},
        {version + R"(,"windows":"x"})", "1.2.3"},
        {version + R"(,"windows":7})", "1.2.3"},
        {version + R"(,"windows":{"url":"u"}})", "1.2.3"},
        {version + R"(,"windows":null})", "1.2.3"},
        {R"({"windows":[{"arch":"x64","hash":"h","altUrl":"a","url":"u"},{}],"version":"4.5.6"})",
         "4.5.6 [u|a|h|x64] [|||]"},
        {version + R"(,"windows":[{"url":1,"altUrl":null,"hash":{},"arch":true},null]})",
         "1.2.3 [|||] [|||]"},
        {version + R"(,"windows":[{"url":["u"],"altUrl":"\u00fc"}]})", "1.2.3 [|\xC3\xBC||]"},
        {version + R"(,"windows":["u"]})", "-1"},
        {version + R"(,"windows":[{},[]]})", "-1"},
        {version + "} x", "-1"},
        {version + ",}", "-1"},
        {R"({"version":1})", "-1"},
        {R"({"version":null})", "-1"},
        {R"({"version":["1"]})", "-1"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Read(text), expected) << text;
    }
    for (const char* text : {"", "{", "null", "[]", "\"1.2.3\"", "5", "{}"}) {
        EXPECT_EQ(Read(text), "-1") << text;
    }
    const ScratchFolder scratch;
    const std::wstring file = scratch / L"file";
    Manifest manifest;
    EXPECT_EQ(ParseManifest(file.c_str(), &manifest), -1) << "missing";
    WriteFileText(file, version + "}");
    EXPECT_EQ(ParseManifest(nullptr, &manifest), -1);
    EXPECT_EQ(ParseManifest(file.c_str(), nullptr), -1);
    const HeldOpen held(file);
    EXPECT_EQ(ParseManifest(file.c_str(), &manifest), -1) << "held open";
}

TEST(SelectManifestEntry, FitsTheSystemOrIsTheFirst) {
    const struct {
        std::vector<const char*> offered;
        int on32, on64;
    } cases[] = {{{}, -1, -1},        {{"ia32", "x64"}, 0, 1}, {{"x64", "ia32"}, 1, 0},
                 {{"", "X64"}, 0, 0}, {{"x64"}, 0, 0},         {{"arm64", "x64", "x64"}, 0, 1}};
    for (const auto& [offered, on32, on64] : cases) {
        Manifest manifest;
        for (const char* architecture : offered) {
            manifest.entries.push_back({"", "", "", architecture});
        }
        const auto index = [&](const ManifestEntry* entry) {
            return entry == nullptr ? -1 : entry - manifest.entries.data();
        };
        EXPECT_EQ(index(SelectManifestEntry(manifest, false)), on32);
        // The test machine has 64 bits.
        EXPECT_EQ(index(SelectManifestEntry(manifest)), on64);
        const Replaced noQuestion = Replace("kernel32.dll", "GetProcAddress", GetProcAddress,
                                            [](auto, auto...) { return nullptr; });
        EXPECT_EQ(index(SelectManifestEntry(manifest)), on32);
    }
}
