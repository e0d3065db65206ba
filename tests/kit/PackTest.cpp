#include <windows.h>
#include <bcrypt.h>

#include <gtest/gtest.h>

#include "kit/AppEntries.h"
#include "kit/Pack.h"
#include "kit/UpdateManifest.h"
#include "resources/ResourceIds.h"
#include "Samples.h"
#include "support/Replace.h"
#include "UnpackToFolder.h"

namespace {

// The checksums are compared by tests/kit/scripts-test.
struct PackTest : testing::Test, SampleApp {
    const std::wstring win = dist + L"\\download\\win\\", online = dist + L"\\QuorvaneSetup.exe";
    PackJob job = {sampleBase, sampleProduct, app, dist, {}, "", ""};

    /// Returns what failed: findings, or the one line of the making; empty when all went well.
    std::string Pack() const {
        Findings findings;
        const PackPlan plan = CheckPack(job, findings);
        std::vector<PackedFile> files;
        return HasErrors(findings) ? Lines(findings) : MakePack(job, plan, files).value_or("");
    }

    /// A pack fails with these words and leaves everything as it was.
    void ExpectUntouched(const char* words) const {
        const Tree before = ReadTree(folder.path);
        EXPECT_NE(Pack().find(words), std::string::npos) << words << "\n" << Pack();
        EXPECT_TRUE(ReadTree(folder.path) == before) << words;
    }

    Tree Unpack(const wchar_t* arch) const {
        const std::wstring unpacked = folder / L"unpacked";
        std::filesystem::create_directory(unpacked);
        EXPECT_EQ(UnpackToFolder(win + L"quorvane-1.2.3-" + arch + L".zip", unpacked), S_OK);
        return ReadTree(unpacked);
    }

    /// What the manifest offers, without its architectures and checksums.
    std::string Offers() const {
        const nlohmann::json manifest = nlohmann::json::parse(ReadFileText(win + L"manifest.json"));
        std::string told = manifest["version"];
        for (const nlohmann::json& offer : manifest["windows"])
            told += " " + offer["url"].get<std::string>() + " " + offer.value("altUrl", "-");
        return told;
    }
};

TEST_F(PackTest, MakesWhatATeamPublishes) {
    const std::string at = "/download/win/quorvane-1.2.";
    ASSERT_EQ(Pack(), "");
    const Tree made = ReadTree(dist);
    const std::string& zip = made.at(L"download/win/quorvane-1.2.3-ia32.zip");
    EXPECT_EQ(made.size(), 7u) << "with two folders, the manifest and the checksums";
    EXPECT_EQ(Offers(), "1.2.3 https://download.quorvane.example" + at + "3-ia32.zip -");
    // The archive unpacks to the application and the setup as its uninstaller.
    Tree expected = ReadTree(app);
    expected[L"uninstall.exe"] = made.at(L"QuorvaneSetup.exe");
    EXPECT_TRUE(Unpack(L"ia32") == expected);
    const std::wstring offline = dist + L"\\QuorvaneSetup-1.2.3-ia32-offline.exe";
    EXPECT_TRUE(ReadResource(offline, archiveType, IDR_ARCHIVE) == zip);
    EXPECT_EQ(ReadResource(online, archiveType, IDR_ARCHIVE), "none");
    ASSERT_EQ(Pack(), "");
    EXPECT_TRUE(ReadTree(dist) == made) << "the same application gave other files";
    // Other architectures are added, another version replaces what is offered.
    const std::string isSigned = made.at(L"QuorvaneSetup.exe") + "signed";
    WriteFileText(app + L"\\uninstall.exe", isSigned);
    SetFileAttributesW(online.c_str(), FILE_ATTRIBUTE_READONLY);
    job.architectures = {"x64", "x64"};
    job.baseUrl = "https://cdn.example/q";
    job.settings = {{"altUrl", "http://m.example:81"}};
    ASSERT_EQ(Pack(), "");
    EXPECT_EQ(Offers(), "1.2.3 https://download.quorvane.example" + at +
                            "3-ia32.zip - https://cdn.example/q" + at +
                            "3-x64.zip http://m.example:81" + at + "3-x64.zip");
    EXPECT_TRUE(Unpack(L"x64").at(L"uninstall.exe") == isSigned);
    SetVersion("1.2.4");
    job.altUrl = "https://b.example/x";  // goes before the product's
    ASSERT_EQ(Pack(), "");
    EXPECT_EQ(Offers(), "1.2.4 https://cdn.example/q" + at + "4-x64.zip https://b.example/x" + at +
                            "4-x64.zip");
    EXPECT_EQ(ReadTree(dist).size(), 11u) << "the former version's files stay";
}

TEST_F(PackTest, FailureLeavesTheFolderAsItWas) {
    const auto with = [&](auto field, const auto& value, const char* words) {
        const auto saved = std::exchange(job.*field, value);
        ExpectUntouched(words);
        job.*field = saved;
    };
    with(&PackJob::base, folder / L"none.exe", "error: --base: ");
    with(&PackJob::product, folder / L"none", "error: product.json: ");
    with(&PackJob::app, folder / L"none", "is no folder");
    with(&PackJob::out, app + L"\\dist", "lies in the application's folder");
    with(&PackJob::out, folder / L"none\\dist", "lies in no folder");
    with(&PackJob::out, FromHostPath(L"/usr/dist"), "the folder above it, where the work is done");
    with(&PackJob::architectures, std::vector<std::string>{"arm"}, "error: --arch: is \"arm\"");
    with(&PackJob::altUrl, "https://a?b", "error: --alt-url: is");
    // All has been made when its checksums cannot be had.
    Replaced noHash = Failing(BCryptFinishHash, -1);
    ExpectUntouched("cannot be read back");
    noHash.reset();
    WriteFileText(dist + L"\\download", "a file");
    CreateDirectoryW(online.c_str(), nullptr);
    ExpectUntouched("error: download: is a file");
    ExpectUntouched("error: QuorvaneSetup.exe: is a folder");
    RemoveTree(dist);
    ASSERT_EQ(Pack(), "");
    SetVersion("2.0.0");
    WriteFileText(
        win + L"manifest.json",
        R"({"version":"2.0.0","windows":[{"arch":"x64","url":"http://a/quor-2.0.0-x64.zip"}]})");
    ExpectUntouched("offers \"quor-2.0.0-x64.zip\" for x64; expected");
    DeleteFileW((win + L"manifest.json").c_str());
    // The last file to be replaced is in use: those before it are taken back.
    const File reader = OpenToRead(dist + L"\\SHA256SUMS");
    ExpectUntouched("SHA256SUMS: cannot be replaced");
}

TEST_F(PackTest, RemovesWhatADeadPackLeft) {
    const std::wstring dead = folder / L"dist.1.tmp\\", alive = folder / L"dist.2.tmp\\",
                       foreign = folder / L"dist.3.tmp\\notes.txt";
    for (const std::wstring& left : {dead + L"pack.lock", dead + L"download\\win\\half.zip",
                                     alive + L"pack.lock", alive + L"half.exe", foreign})
        WriteFileText(left, "");
    const File lock = OpenPath(alive + L"pack.lock", GENERIC_READ | GENERIC_WRITE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    EXPECT_TRUE(LockFile(lock.get(), 0, 0, 1, 0));
    EXPECT_EQ(Pack(), "");
    EXPECT_FALSE(Exists(dead));
    EXPECT_TRUE(Exists(alive + L"half.exe") && Exists(foreign));
}

TEST(Entries, Checks) {
    // C:\Users\ 20 \AppData\Local\ is 44 long; then 9 \1.2.3.BKP\, or Temp\ 9 .TEMP\.
    const std::wstring longest(259 - 44 - 9 - 11, L'n');
    const AppEntry half = {L"a", false, false, 9, 1u << 30};
    std::vector<AppEntry> many;
    for (unsigned i = 0; i < 65535; ++i)
        many.push_back({std::to_wstring(i)});
    const struct {
        std::vector<AppEntry> entries;
        const char *start = "", *words = "";  // empty: fits
        const char* version = "1.2.3";
    } cases[] = {
        {{{L"a", true}, {L"a/b.txt"}, {L"a/.hidden"}, {L"ä b"}, {longest}}},
        {{{longest + L"n"}}, "error: nnn", "has 196 characters; expected at most 195"},
        // A longer version takes more room than the unpacking folder.
        {{{longest}}, "error: nnn", "expected at most 192", "10.20.30"},
        {{{longest.substr(11), true}}, "error: nnn", "184 characters; expected at most 183"},
        {{{L"a/CON"}}, "error: a/CON: ", "device"},
        {{{L"l", false, true}}, "error: l: ", "is a link"},
        {{{L"Ärger/a"}, {L"ärger/A"}}, "error: ärger/A: ", "the same to Windows as Ärger/a"},
        {{{L"a", false, false, 0xFFFFFFFE, 5}}},
        {{{L"a", false, false, 0xFFFFFFFF, 5}}, "error: a: ", "4 GiB"},
        {{half, {L"b", false, false, 9, (1u << 30) - 200}}},
        {{half, {L"b", false, false, 9, 1u << 30}}, "error: application: size: ", "about 2048 MiB"},
        {many, "error: application: entries: ", "are 65535"},
    };
    for (const auto& [entries, start, words, version] : cases)
        ExpectFinding(std::bind_front(CheckAppEntries, entries, L"Zwei Töne", version), start,
                      words);
}

TEST(Lists, Manifest) {
    const ArchiveOffer x64 = {"x64", "u64", "", "h64"}, ia32 = {"ia32", "u32", "v32", "h32"};
    const std::string new64 = R"({"url":"u64","arch":"x64","hash":"h64"}])",
                      new32 = R"({"url":"u32","altUrl":"v32","arch":"ia32","hash":"h32"})",
                      old = R"({"arch":"x64","url":"old","altUrl":"old","hash":"old"})",
                      other = R"([{"arch":"arm64","url":"z","note":1})";
    const struct {
        std::string version, windows;  // what is there; then what is made of it
        std::vector<ArchiveOffer> offers;
        std::string merged;
        const char *start = "", *words = "";
    } cases[] = {
        {"1.2.3", "[]", {x64, ia32}, "[" + new32 + "," + new64},
        {"1.2.3", other + "," + old + "]", {x64}, other + "," + new64},
        {"1.2.2", other + "]", {x64}, "[" + new64},
        {"1.10.0", "[]", {x64}, "[" + new64, "warning", "is 1.10.0 already"},
        {"1.2.3", "\"x\"", {}, "[]", "error", "windows: expected an array"},
        {"1.2.3", R"([{"arch":5}])", {}, "[]", "error", "windows: expected an array"},
    };
    for (const auto& [version, windows, offers, merged, start, words] : cases) {
        using nlohmann::json;
        // What a team added by hand stays with its version.
        json expected = {{"version", "1.2.3"}, {"windows", json::parse(merged)}}, made;
        if (version == "1.2.3" && *start == '\0')
            expected["notes"] = 5;
        const json there = {{"version", version}, {"notes", 5}, {"windows", json::parse(windows)}};
        const auto check = [&](auto& found) {
            made = json::parse(MergeManifest(there.dump(), "1.2.3", offers, found));
        };
        ExpectFinding(check, start, words);
        EXPECT_EQ(made, expected);
    }
    ExpectFinding([](auto& found) { MergeManifest("{}", "1.2.3", {}, found); }, "error", "missing");
}

}  // namespace
