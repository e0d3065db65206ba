#include "services/Manifest.h"

#include <gtest/gtest.h>

#include "support/Scratch.h"

// What the scenarios' manifests do not hold.
TEST(ParseManifest, TakesTextsAndRefusesOtherFiles) {
    const std::string text =
        R"({"windows":[{"altUrl":null,"hash":{},"arch":true,"url":"u"},{}],"version":"1.2.3"})";
    for (const auto& [content, result] : {std::pair("\xEF\xBB\xBF" + text, 0), {text + " x", -1}}) {
        const ScratchFolder scratch;
        WriteFileText(scratch / L"file", content);
        Manifest manifest;
        EXPECT_EQ(ParseManifest((scratch / L"file").c_str(), &manifest), result) << content;
        for (const auto& [url, altUrl, hash, arch] : manifest.entries)
            EXPECT_EQ(url + altUrl + hash + arch, &url == &manifest.entries[0].url ? "u" : "");
    }
}

TEST(SelectManifestEntry, FitsTheSystemOrIsTheFirst) {
    const auto select = [](std::initializer_list<const char*> offered, bool is64BitSystem) {
        Manifest manifest;
        for (const char* architecture : offered) {
            manifest.entries.push_back({"", "", "", architecture});
        }
        return SelectManifestEntry(manifest, is64BitSystem) - manifest.entries.data();
    };
    EXPECT_EQ(select({"x64", "ia32"}, false), 1);
    EXPECT_EQ(select({"", "X64"}, true), 0);
    EXPECT_EQ(select({"arm64", "x64", "x64"}, true), 1);
    EXPECT_EQ(select({"arm64", "x64"}, false), 0);
}

TEST(Version, ReadsThreeShortTokens) {
    // Used again, so that nothing of the version before may stay.
    Version version;
    const std::pair<std::string, std::string> cases[] = {
        {"01.002.3", "1.2.3"},    {"1.2", "1.2.-1"},         {"1..3", "1.-1.3"},
        {"", "-1.-1.-1"},         {" 1.+2. -3", "1.2.-3"},   {"x.5y.z3", "-1.5.-1"},
        {"1.2.3.4", "1.2.3"},     {"1.2.3-beta", "1.2.3"},   {"1.2345.6", "1.234.-1"},
        {"123.45.", "123.45.-1"}, {"1234.5.6", "123.-1.-1"}, {"-123.5.6", "-12.-1.-1"},
    };
    for (const auto& [text, expected] : cases) {
        version.Parse(text.c_str());
        EXPECT_EQ(version.text, expected) << text;
        version.Parse(std::wstring(text.begin(), text.end()));
        EXPECT_EQ(version.wideText, std::wstring(expected.begin(), expected.end()));
    }
}

TEST(Version, ComparesNumbersFromTheFirst) {
    Version a, b;
    for (const auto& [left, right, result] : {std::tuple("1.2.9", "1.2.10", -1),
                                              {"1.10.0", "1.2.10", 1},
                                              {"1.10.0", "2.0.0", -1},
                                              {"1.2.3", "1.2.3", 0}}) {
        a.Parse(left);
        b.Parse(right);
        EXPECT_EQ(a.Compare(b), result) << left;
        EXPECT_EQ(b.Compare(a), -result) << left;
    }
}
