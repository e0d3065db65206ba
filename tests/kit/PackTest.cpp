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
    ASSERT_EQ(Pack(), "");
    WriteFileText(app + L"\\uninstall.exe", Read(dist + L"\\QuorvaneSetup.exe") + "signed");
    ASSERT_EQ(Pack(), "");
    const std::string first = Read(win + L"quorvane-1.2.3-ia32.zip");
    // An editor and a version control may leave them like this.
    std::string sums = Read(dist + L"\\SHA256SUMS");
    for (std::size_t end = 0; (end = sums.find('\n', end)) != std::string::npos; end += 2)
        sums.insert(end, "\r");
    WriteFileText(dist + L"\\SHA256SUMS", sums);
    SetFileAttributesW((dist + L"\\QuorvaneSetup.exe").c_str(), FILE_ATTRIBUTE_READONLY);
    job.architectures = {"x64", "x64"};
    job.baseUrl = "https://cdn.example/q";
    job.altUrl = "http://mirror.example:81";
    ASSERT_EQ(Pack(), "");
    ExpectChecksums();
    EXPECT_FALSE(Exists(dist + L".1.tmp"));
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
    with(&PackJob::out, FromHostPath(L"/usr/dist"), "the folder above it, where the work is done");
    with(&PackJob::architectures, std::vector<std::string>{"arm"}, "error: --arch: is \"arm\"");
    for (const char* url : {"example.com", "https://a/", "https://a b", "https://a?b"})
        with(&PackJob::altUrl, url, "error: --alt-url: is");
    with(&PackJob::baseUrl, "https://x/" + std::string(1000, 'x'),
         "error: --base-url: is too long");
    {
        // All has been made when its checksums cannot be had.
        const FailingCall noHash("bcrypt.dll", "BCryptFinishHash", &BCryptFinishHash, -1);
        expectUntouched("cannot be read back");
    }
    {
        // The checksum of what is made last is still being computed.
        Findings findings;
        PackPlan plan = CheckPack(job, findings);
        plan.architectures.push_back("no\\where");
        const Tree before = ReadTree(folder.path);
        std::vector<PackedFile> files;
        const std::string wrong = MakePack(job, plan, files);
        EXPECT_EQ(wrong.rfind("download/win/quorvane-1.2.3-no\\where.zip: cannot be", 0), 0u)
            << wrong;
        EXPECT_TRUE(ReadTree(folder.path) == before);
    }
    WriteFileText(dist + L"\\download", "a file");
    CreateDirectoryW((dist + L"\\QuorvaneSetup.exe").c_str(), nullptr);
    expectUntouched("error: download: is a file");
    expectUntouched("error: QuorvaneSetup.exe: is a folder");
    RemoveTree(dist);
    ASSERT_EQ(Pack(), "");
    SetVersion("2.0.0");
    const std::string others =
        R"({"version":"2.0.0","windows":[{"arch":"x64","url":"http://a/quor-2.0.0-x64.zip"}]})";
    const std::tuple<std::wstring, std::string, const char*> lists[] = {
        {dist + L"\\SHA256SUMS", "rubbish", "error: SHA256SUMS: "},
        {win + L"manifest.json", "rubbish", "error: download/win/manifest"},
        {win + L"manifest.json", others, "offers \"quor-2.0.0-x64.zip\" for x64; expected"}};
    for (const auto& [path, content, wrong] : lists) {
        const std::string good = Read(path);
        WriteFileText(path, content);
        expectUntouched(wrong);
        WriteFileText(path, good);
    }
    // The last file to be replaced is in use: those before it are taken back.
    const Tree before = ReadTree(folder.path);
    const HANDLE reader = CreateFileW((dist + L"\\SHA256SUMS").c_str(), GENERIC_READ,
                                      FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const std::string wrong = Pack();
    CloseHandle(reader);
    EXPECT_EQ(wrong.rfind("SHA256SUMS: cannot be replaced", 0), 0u) << wrong;
    EXPECT_TRUE(ReadTree(folder.path) == before);
}

TEST_F(PackTest, RemovesWhatADeadPackLeft) {
    const std::wstring dead = folder / L"dist.1.tmp", alive = folder / L"dist.2.tmp",
                       foreign = folder / L"dist.3.tmp";
    WriteFileText(dead + L"\\pack.lock", "");
    WriteFileText(dead + L"\\download\\win\\half.zip", "half");
    WriteFileText(alive + L"\\pack.lock", "");
    WriteFileText(alive + L"\\half.exe", "half");
    WriteFileText(foreign + L"\\notes.txt", "a user's");
    const HANDLE lock =
        CreateFileW((alive + L"\\pack.lock").c_str(), GENERIC_READ | GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_TRUE(LockFile(lock, 0, 0, 1, 0));
    EXPECT_EQ(Pack(), "");
    EXPECT_FALSE(Exists(dead));
    EXPECT_TRUE(Exists(alive + L"\\half.exe"));
    EXPECT_TRUE(Exists(foreign + L"\\notes.txt"));
    CloseHandle(lock);
    EXPECT_EQ(Pack(), "");
    EXPECT_FALSE(Exists(alive));
}

TEST_F(PackTest, CommandLine) {
    const std::wstring program = L"\"" + FromHostPath(Widen(PACK_PROGRAM)) + L"\"";
    const std::wstring given = L" --product \"" + Widen(PRODUCTS_FOLDER) +
                               L"/quorvane\" --app app --base \"" + Widen(SAMPLE_BASE) + L"\"",
                       all = given + L" --out dist";
    const fs::path before = fs::current_path();
    fs::current_path(folder.path);
    const std::pair<std::wstring, int> calls[] = {{L" --help", 0},
                                                  {L"", 2},
                                                  {all + L" --arch", 2},
                                                  {all + L" --colour blue", 2},
                                                  {all + L" --arch arm", 1},
                                                  {all + L" --check", 0},
                                                  {given, 2},
                                                  {given + L" --check", 0}};
    for (const auto& [arguments, code] : calls)
        EXPECT_EQ(ExitCodeOf(program + arguments), code) << Narrow(arguments);
    EXPECT_FALSE(Exists(dist));
    EXPECT_EQ(ExitCodeOf(program + all + L" --arch x64 --arch ia32"), 0);
    fs::current_path(before);
    EXPECT_EQ(ReadTree(dist).size(), 9u);
    ExpectChecksums();
}

}  // namespace
