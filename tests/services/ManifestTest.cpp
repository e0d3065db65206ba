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
        {"\xEF\xBB\xBF" + version + "}", "1.2.3"},
        {R"({"name":"x","version":"any text"})", "-1.-1.-1"},
        {version + R"(,"windows":{"url":"u"}})", "1.2.3"},
        {R"({"windows":[{"arch":"x64","hash":"h","altUrl":"a","url":"u"},{}],"version":"4.5.6"})",
         "4.5.6 [u|a|h|x64] [|||]"},
        {version + R"(,"windows":[{"url":1,"altUrl":null,"hash":{},"arch":true},null]})",
         "1.2.3 [|||] [|||]"},
        {version + R"(,"windows":[{"url":["u"],"altUrl":"\u00fc"}]})", "1.2.3 [|\xC3\xBC||]"},
        {version + "} x", "-1"},
        {version + ",}", "-1"},
        {R"({"version":["1"]})", "-1"},
        {"\"1.2.3\"", "-1"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Read(text), expected) << text;
    }
}

TEST(SelectManifestEntry, FitsTheSystemOrIsTheFirst) {
    const struct {
        std::vector<const char*> offered;
        int on32, on64;
    } cases[] = {{{}, -1, -1},
                 {{"x64", "ia32"}, 1, 0},
                 {{"", "X64"}, 0, 0},
                 {{"arm64", "x64", "x64"}, 0, 1}};
    for (const auto& [offered, on32, on64] : cases) {
        Manifest manifest;
        for (const char* architecture : offered) {
            manifest.entries.push_back({"", "", "", architecture});
        }
        const auto index = [&](const ManifestEntry* entry) {
            return entry == nullptr ? -1 : entry - manifest.entries.data();
        };
        // The test machine has 64 bits.
        EXPECT_EQ(index(SelectManifestEntry(manifest)), on64);
        const Replaced noQuestion = Replace("kernel32.dll", "GetProcAddress", GetProcAddress,
                                            [](auto, auto...) { return nullptr; });
        EXPECT_EQ(index(SelectManifestEntry(manifest)), on32);
    }
}

TEST(Version, ReadsThreeShortTokens) {
    const std::pair<std::string, std::string> cases[] = {
        {"01.002.3", "1.2.3"},    {"1.2", "1.2.-1"},         {"1..3", "1.-1.3"},
        {"", "-1.-1.-1"},         {" 1.+2. -3", "1.2.-3"},   {"x.5y.z3", "-1.5.-1"},
        {"1.2.3.4", "1.2.3"},     {"1.2.3-beta", "1.2.3"},   {"1.2345.6", "1.234.-1"},
        {"123.45.", "123.45.-1"}, {"1234.5.6", "123.-1.-1"}, {"-123.5.6", "-12.-1.-1"},
    };
    // Used again, so that nothing of the version before may stay.
    Version version;
    for (const auto& [text, expected] : cases) {
        for (const bool isWide : {false, true}) {
            isWide ? version.Parse(std::wstring(text.begin(), text.end()))
                   : version.Parse(text.c_str());
            EXPECT_EQ(version.text, expected) << text;
            EXPECT_EQ(version.wideText, std::wstring(expected.begin(), expected.end()));
        }
    }
    version.Parse(static_cast<const char*>(nullptr));
    EXPECT_EQ(version.text + std::to_string(version.major), "0");
}

TEST(Version, ComparesNumbersFromTheFirst) {
    Version a, b;
    for (const auto& [newer, older] :
         {std::pair("2.0.0", "1.9.9"), {"1.10.0", "1.9.9"}, {"1.2.10", "1.2.9"}}) {
        a.Parse(newer);
        b.Parse(older);
        EXPECT_EQ(a.Compare(b), 1) << newer << " " << older;
        EXPECT_EQ(b.Compare(a), -1) << newer << " " << older;
    }
    EXPECT_EQ(a.Compare(a), 0);
}
