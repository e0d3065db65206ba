#include <windows.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "UnpackToFolder.h"
#include "kit/Files.h"
#include "kit/Pack.h"
#include "kit/Sha256.h"
#include "resources/ResourceIds.h"
#include "Samples.h"
#include "support/ImportPatch.h"
#include "support/Scratch.h"

namespace {

const std::wstring sampleBase = FromHostPath(Widen(SAMPLE_BASE));

using Tree = std::map<std::wstring, std::string>;

/// All files by relative path; a folder has a slash behind its name.
void ReadTree(const std::wstring& root, const std::wstring& prefix, Tree& tree) {
    WIN32_FIND_DATAW found;
    const HANDLE find = FindFirstFileW((root + L"\\" + prefix + L"*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE)
        return;
    do {
        const std::wstring name = found.cFileName, path = prefix + name;
        if (name == L"." || name == L"..")
            continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            tree[path + L"/"];
            ReadTree(root, path + L"/", tree);
        } else {
            tree[path] = Read(root + L"\\" + path);
        }
    } while (FindNextFileW(find, &found));
    FindClose(find);
}

Tree ReadTree(const std::wstring& root) {
    Tree tree;
    ReadTree(root, L"", tree);
    return tree;
}

/// An application of the reference product, ready to be packed.
struct PackTest : testing::Test {
    ScratchFolder folder;
    std::wstring app = folder / L"app", dist = folder / L"dist";
    PackJob job = {sampleBase, ProductFolder(L"quorvane"), app, dist, {}, "", ""};

    PackTest() {
        const std::string program = Read(sampleBase);
        for (const wchar_t* name : {L"QuorvaneStarter.exe", L"Quorvane.exe", L"syspin.exe"})
            WriteFileText(app + L"\\" + name, program);
        WriteFileText(app + L"\\locales\\ü 例.pak", Noise(700000));
        CreateDirectoryW((app + L"\\empty").c_str(), nullptr);
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
};

/// Every file but the list itself stands in it with the right checksum.
void ExpectChecksums(const std::wstring& dist) {
    std::map<std::string, std::string> listed;
    const std::string list = Read(dist + L"\\SHA256SUMS");
    for (std::size_t place = 0; place < list.size(); place = list.find('\n', place) + 1)
        listed[list.substr(place + 66, list.find('\n', place) - place - 66)] =
            list.substr(place, 64);
    for (const auto& [path, content] : ReadTree(dist)) {
        if (path.back() == L'/' || path == L"SHA256SUMS")
            continue;
        std::string hex;
        EXPECT_EQ(HashFile(dist + L"\\" + path, hex), 0u);
        EXPECT_EQ(listed[Narrow(path)], hex) << Narrow(path);
        listed.erase(Narrow(path));
    }
    EXPECT_TRUE(listed.empty()) << listed.begin()->first;
}

std::string ArchiveInside(const std::wstring& path) {
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(IDR_ARCHIVE), L"DISTR");
    std::string archive;
    if (found != nullptr)
        archive.assign(static_cast<const char*>(LockResource(LoadResource(module, found))),
                       SizeofResource(module, found));
    FreeLibrary(module);
    return archive;
}

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
    ExpectChecksums(dist);
    std::string hex;
    HashFile(dist + L"\\" + zip, hex);
    const nlohmann::json manifest = nlohmann::json::parse(made.at(L"download/win/manifest.json"));
    EXPECT_EQ(manifest,
              (nlohmann::json{{"version", "1.2.3"},
                              {"windows",
                               {{{"url", "https://download.quorvane.example/" + Narrow(zip)},
                                 {"arch", "ia32"},
                                 {"hash", hex}}}}}));
    // The archive unpacks to the application and the setup as its uninstaller.
    const std::wstring unpacked = folder / L"unpacked";
    CreateDirectoryW(unpacked.c_str(), nullptr);
    ASSERT_EQ(UnpackToFolder(dist + L"\\" + zip, unpacked), S_OK);
    Tree expected = ReadTree(app);
    expected[L"uninstall.exe"] = made.at(L"QuorvaneSetup.exe");
    EXPECT_TRUE(ReadTree(unpacked) == expected);
    EXPECT_TRUE(ArchiveInside(dist + L"\\" + offline) == made.at(zip));
    EXPECT_EQ(ArchiveInside(dist + L"\\QuorvaneSetup.exe"), "");
    EXPECT_EQ(ReadTree(folder.path).count(L"dist/"), 1u);

    ASSERT_EQ(Pack(), "");
    EXPECT_TRUE(ReadTree(dist) == made) << "the same application gave other files";
}

TEST_F(PackTest, AddsArchitecturesAndReplacesVersions) {
    job.architectures = {"ia32"};
    WriteFileText(app + L"\\uninstall.exe", Read(sampleBase) + "signed");
    ASSERT_EQ(Pack(), "");
    const std::string first = Read(dist + L"\\download\\win\\quorvane-1.2.3-ia32.zip");
    job.architectures = {"x64"};
    job.baseUrl = "https://cdn.example/q";
    job.altUrl = "http://mirror.example:81";
    ASSERT_EQ(Pack(), "");
    ExpectChecksums(dist);
    EXPECT_TRUE(Read(dist + L"\\download\\win\\quorvane-1.2.3-ia32.zip") == first);
    nlohmann::json manifest = ReadJson(dist + L"\\download\\win\\manifest.json");
    ASSERT_EQ(manifest["windows"].size(), 2u);
    EXPECT_EQ(manifest["windows"][0]["arch"], "ia32");
    EXPECT_EQ(manifest["windows"][1]["url"],
              "https://cdn.example/q/download/win/quorvane-1.2.3-x64.zip");
    EXPECT_EQ(manifest["windows"][1]["altUrl"],
              "http://mirror.example:81/download/win/quorvane-1.2.3-x64.zip");
    const std::wstring unpacked = folder / L"unpacked";
    CreateDirectoryW(unpacked.c_str(), nullptr);
    ASSERT_EQ(UnpackToFolder(dist + L"\\download\\win\\quorvane-1.2.3-x64.zip", unpacked), S_OK);
    EXPECT_TRUE(Read(unpacked + L"\\uninstall.exe") == Read(app + L"\\uninstall.exe"));

    SetVersion("1.2.4");
    job.architectures = {"x64", "ia32"};
    ASSERT_EQ(Pack(), "");
    ExpectChecksums(dist);
    manifest = ReadJson(dist + L"\\download\\win\\manifest.json");
    EXPECT_EQ(manifest["version"], "1.2.4");
    ASSERT_EQ(manifest["windows"].size(), 2u);
    for (const auto& entry : manifest["windows"])
        EXPECT_EQ(entry["url"], "https://cdn.example/q/download/win/quorvane-1.2.4-" +
                                    entry["arch"].get<std::string>() + ".zip");
    EXPECT_TRUE(Exists(dist + L"\\download\\win\\quorvane-1.2.3-ia32.zip"));
}

long WINAPI FailToFinish(void*, unsigned char*, unsigned long, unsigned long) {
    return -1;
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
        const ImportPatch patch("bcrypt.dll", "BCryptFinishHash", AsProc(&FailToFinish));
        expectUntouched("cannot be read back");
    }
    ASSERT_EQ(Pack(), "");
    SetVersion("2.0.0");
    for (const wchar_t* name : {L"SHA256SUMS", L"download\\win\\manifest.json"}) {
        const std::string good = Read(dist + L"\\" + name);
        WriteFileText(dist + L"\\" + name, "rubbish");
        expectUntouched(name[0] == L'S' ? "error: SHA256SUMS: " : "error: download/win/manifest");
        WriteFileText(dist + L"\\" + name, good);
    }
    // The last file to be replaced is in use: those before it are taken back.
    Tree before = ReadTree(folder.path);
    {
        const HANDLE reader = CreateFileW((dist + L"\\SHA256SUMS").c_str(), GENERIC_READ,
                                          FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        const std::string wrong = Pack();
        CloseHandle(reader);
        EXPECT_NE(wrong.find("SHA256SUMS: cannot be replaced"), std::string::npos) << wrong;
    }
    EXPECT_TRUE(ReadTree(folder.path) == before);
}

TEST_F(PackTest, CommandLine) {
    const std::wstring program = L"\"" + FromHostPath(Widen(PACK_PROGRAM)) + L"\" ";
    const std::wstring product = L"--product \"" + Widen(PRODUCTS_FOLDER) + L"/quorvane\" ";
    const std::wstring rest = L"--app app --out dist --base \"" + Widen(SAMPLE_BASE) + L"\" ";
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    SetCurrentDirectoryW(folder.path.c_str());
    EXPECT_EQ(RunProgram(program + L"--help"), 0);
    EXPECT_EQ(RunProgram(program), 2);
    EXPECT_EQ(RunProgram(program + product + rest + L"--arch"), 2);
    EXPECT_EQ(RunProgram(program + product + rest + L"--colour blue"), 2);
    EXPECT_EQ(RunProgram(program + product + rest + L"--arch arm"), 1);
    EXPECT_EQ(RunProgram(program + product + rest + L"--check"), 0);
    EXPECT_FALSE(Exists(dist));
    EXPECT_EQ(RunProgram(program + product + rest + L"--arch x64 --arch ia32"), 0);
    SetCurrentDirectoryW(before);
    EXPECT_EQ(ReadTree(dist).size(), 9u);
    ExpectChecksums(dist);
}

}  // namespace
