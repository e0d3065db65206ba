#include <windows.h>
#include <bcrypt.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "UnpackToFolder.h"
#include "kit/Files.h"
#include "kit/Pack.h"
#include "kit/Sha256.h"
#include "resources/ResourceIds.h"
#include "Samples.h"
#include "support/FailingCall.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;

using Tree = std::map<std::wstring, std::string>;

/// All files by relative path; a folder has a slash behind its name.
Tree ReadTree(const std::wstring& root) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::wstring path = entry.path().generic_wstring().substr(root.size() + 1);
        if (entry.is_directory())
            tree[path + L"/"];
        else
            tree[path] = Read(entry.path());
    }
    return tree;
}

std::string HashOf(const std::wstring& path) {
    std::string hex;
    EXPECT_EQ(HashFile(path, hex), 0u);
    return hex;
}

/// An application of the reference product, ready to be packed.
struct PackTest : testing::Test {
    ScratchFolder folder;
    std::wstring app = folder / L"app", dist = folder / L"dist", win = dist + L"\\download\\win\\";
    PackJob job = {sampleBase, ProductFolder(L"quorvane"), app, dist, {}, "", ""};

    PackTest() {
        const std::string program = Read(sampleBase);
        for (const wchar_t* name : {L"QuorvaneStarter.exe", L"Quorvane.exe", L"syspin.exe"})
            WriteFileText(app + L"\\" + name, program);
        WriteFileText(app + L"\\locales\\ü 例.pak", Noise(700000));
        fs::create_directory(app + L"\\empty");
        SetVersion("1.2.3");
    }

    void SetVersion(const std::string& version) const {
        WriteFileText(app + L"\\resources\\app\\package.json",
                      "{\"version\": \"" + version + "\"}");
    }

    /// Returns what failed: findings, or the one line of the making.
    std::string Pack() const {
        Findings findings;
        const PackPlan plan = CheckPack(job, findings);
        std::vector<PackedFile> files;
        return HasErrors(findings) ? Lines(findings) : MakePack(job, plan, files);
    }

    Tree Unpack(const std::wstring& zip) const {
        const std::wstring unpacked = folder / L"unpacked";
        fs::create_directory(unpacked);
        EXPECT_EQ(UnpackToFolder(zip, unpacked), S_OK);
        return ReadTree(unpacked);
    }

    /// Every file but the list itself stands in it with the right checksum.
    void ExpectChecksums() const {
        std::string expected;
        for (const auto& [path, content] : ReadTree(dist)) {
            if (path.back() != L'/' && path != L"SHA256SUMS")
                expected += HashOf(dist + L"\\" + path) + "  " + Narrow(path) + "\n";
        }
        EXPECT_EQ(Read(dist + L"\\SHA256SUMS"), expected);
    }
};

TEST_F(PackTest, MakesWhatATeamPublishes) {
    ASSERT_EQ(Pack(), "");
    const Tree made = ReadTree(dist);
    const std::wstring zip = L"download/win/quorvane-1.2.3-ia32.zip";
    const std::wstring offline = L"QuorvaneSetup-1.2.3-ia32-offline.exe";
    std::vector<std::wstring> names;
    for (const auto& file : made)
        names.push_back(file.first);
    EXPECT_EQ(names,
              (std::vector<std::wstring>{offline, L"QuorvaneSetup.exe", L"SHA256SUMS", L"download/",
                                         L"download/win/", L"download/win/manifest.json", zip}));
    ExpectChecksums();
    EXPECT_EQ(ReadJson(win + L"manifest.json"),
              (nlohmann::json{{"version", "1.2.3"},
                              {"windows",
                               {{{"url", "https://download.quorvane.example/" + Narrow(zip)},
                                 {"arch", "ia32"},
                                 {"hash", HashOf(dist + L"\\" + zip)}}}}}));
    // The archive unpacks to the application and the setup as its uninstaller.
    Tree expected = ReadTree(app);
    expected[L"uninstall.exe"] = made.at(L"QuorvaneSetup.exe");
    EXPECT_TRUE(Unpack(dist + L"\\" + zip) == expected);
    EXPECT_TRUE(ReadResource(dist + L"\\" + offline, L"DISTR", IDR_ARCHIVE) == made.at(zip));
    EXPECT_EQ(ReadResource(dist + L"\\QuorvaneSetup.exe", L"DISTR", IDR_ARCHIVE), "none");

    ASSERT_EQ(Pack(), "");
    EXPECT_TRUE(ReadTree(dist) == made) << "the same application gave other files";
}

TEST_F(PackTest, AddsArchitecturesAndReplacesVersions) {
    job.architectures = {"ia32"};
    WriteFileText(app + L"\\uninstall.exe", Read(sampleBase) + "signed");
    ASSERT_EQ(Pack(), "");
    const std::string first = Read(win + L"quorvane-1.2.3-ia32.zip");
    job.architectures = {"x64"};
    job.baseUrl = "https://cdn.example/q";
    job.altUrl = "http://mirror.example:81";
    ASSERT_EQ(Pack(), "");
    ExpectChecksums();
    EXPECT_TRUE(Read(win + L"quorvane-1.2.3-ia32.zip") == first);
    nlohmann::json offers = ReadJson(win + L"manifest.json")["windows"];
    ASSERT_EQ(offers.size(), 2u);
    EXPECT_EQ(offers[0]["arch"], "ia32");
    EXPECT_EQ(offers[1]["url"], "https://cdn.example/q/download/win/quorvane-1.2.3-x64.zip");
    EXPECT_EQ(offers[1]["altUrl"], "http://mirror.example:81/download/win/quorvane-1.2.3-x64.zip");
    EXPECT_TRUE(Unpack(win + L"quorvane-1.2.3-x64.zip").at(L"uninstall.exe") ==
                Read(app + L"\\uninstall.exe"));

    SetVersion("1.2.4");
    job.architectures = {"x64", "ia32"};
    ASSERT_EQ(Pack(), "");
    ExpectChecksums();
    EXPECT_EQ(ReadJson(win + L"manifest.json")["version"], "1.2.4");
    offers = ReadJson(win + L"manifest.json")["windows"];
    ASSERT_EQ(offers.size(), 2u);
    for (const auto& offer : offers)
        EXPECT_EQ(offer["url"], "https://cdn.example/q/download/win/quorvane-1.2.4-" +
                                    offer["arch"].get<std::string>() + ".zip");
    EXPECT_TRUE(Exists(win + L"quorvane-1.2.3-ia32.zip"));
}

TEST_F(PackTest, FailureLeavesTheFolderAsItWas) {
    const auto expectUntouched = [this](const char* part) {
        const Tree before = ReadTree(folder.path);
        const std::string wrong = Pack();
        EXPECT_NE(wrong.find(part), std::string::npos) << part << "\n" << wrong;
        EXPECT_TRUE(ReadTree(folder.path) == before) << part;
    };
    const auto with = [&](auto PackJob::*field, const auto& value, const char* part) {
        const PackJob saved = job;
        job.*field = value;
        expectUntouched(part);
        job = saved;
    };
    // Nothing there yet.
    with(&PackJob::base, folder / L"none.exe", "error: --base: ");
    with(&PackJob::product, folder / L"none", "error: product.json: ");
    with(&PackJob::app, folder / L"none", "is no folder");
    with(&PackJob::out, app + L"\\dist", "lies in the application's folder");
    with(&PackJob::out, app + L"\\locales\\ü 例.pak", "is a file");
    with(&PackJob::out, folder / L"none\\dist", "lies in no folder");
    with(&PackJob::architectures, std::vector<std::string>{"arm"}, "error: --arch: is \"arm\"");
    for (const char* url : {"example.com", "https://a/", "https://a b", "https://a?b"})
        with(&PackJob::altUrl, url, "error: --alt-url: is");
    with(&PackJob::baseUrl, "https://" + std::string(1000, 'x'), "error: --base-url: is too long");
    {
        // All has been made when its checksums cannot be had.
        const FailingCall noHash("bcrypt.dll", "BCryptFinishHash", &BCryptFinishHash, -1);
        expectUntouched("cannot be read back");
    }
    ASSERT_EQ(Pack(), "");
    SetVersion("2.0.0");
    const std::pair<std::wstring, const char*> lists[] = {
        {dist + L"\\SHA256SUMS", "error: SHA256SUMS: "},
        {win + L"manifest.json", "error: download/win/manifest"}};
    for (const auto& [path, wrong] : lists) {
        const std::string good = Read(path);
        WriteFileText(path, "rubbish");
        expectUntouched(wrong);
        WriteFileText(path, good);
    }
    // The last file to be replaced is in use: those before it are taken back.
    const Tree before = ReadTree(folder.path);
    const HANDLE reader = CreateFileW((dist + L"\\SHA256SUMS").c_str(), GENERIC_READ,
                                      FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const std::string wrong = Pack();
    CloseHandle(reader);
    EXPECT_NE(wrong.find("SHA256SUMS: cannot be replaced"), std::string::npos) << wrong;
    EXPECT_TRUE(ReadTree(folder.path) == before);
}

TEST_F(PackTest, CommandLine) {
    const std::wstring program = L"\"" + FromHostPath(Widen(PACK_PROGRAM)) + L"\"";
    const std::wstring all = L" --product \"" + Widen(PRODUCTS_FOLDER) +
                             L"/quorvane\" --app app --out dist --base \"" + Widen(SAMPLE_BASE) +
                             L"\"";
    const fs::path before = fs::current_path();
    fs::current_path(folder.path);
    const std::pair<std::wstring, int> calls[] = {
        {L" --help", 0},           {L"", 2},
        {all + L" --arch", 2},     {all + L" --colour blue", 2},
        {all + L" --arch arm", 1}, {all + L" --check", 0}};
    for (const auto& [arguments, code] : calls)
        EXPECT_EQ(ExitCodeOf(program + arguments), code) << Narrow(arguments);
    EXPECT_FALSE(Exists(dist));
    EXPECT_EQ(ExitCodeOf(program + all + L" --arch x64 --arch ia32"), 0);
    fs::current_path(before);
    EXPECT_EQ(ReadTree(dist).size(), 9u);
    ExpectChecksums();
}

}  // namespace
