#include <windows.h>
#include <imagehlp.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "kit/Files.h"
#include "kit/PeChecksum.h"
#include "kit/ProductFolder.h"
#include "kit/Stamp.h"
#include "resources/ResourceIds.h"
#include "Samples.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;

std::set<std::wstring> List(const ScratchFolder& folder) {
    std::set<std::wstring> names;
    for (const auto& entry : fs::directory_iterator(folder.path))
        names.insert(entry.path().filename());
    return names;
}

std::wstring VersionValue(const std::wstring& path, const wchar_t* key) {
    std::vector<char> block(GetFileVersionInfoSizeW(path.c_str(), nullptr));
    wchar_t* value = nullptr;
    UINT length = 0;
    const bool found =
        GetFileVersionInfoW(path.c_str(), 0, block.size(), block.data()) &&
        VerQueryValueW(block.data(), (std::wstring(L"\\StringFileInfo\\041904b0\\") + key).c_str(),
                       reinterpret_cast<void**>(&value), &length);
    return found ? value : L"none";
}

void ExpectRightChecksum(const std::wstring& path) {
    DWORD written = 0, computed = 0;
    ASSERT_EQ(MapFileAndCheckSumW(path.c_str(), &written, &computed), DWORD{CHECKSUM_SUCCESS});
    EXPECT_EQ(written, computed);
}

Product SampleProduct() {
    Findings findings;
    Product product = ReadProductFolder(ProductFolder(L"quorvane"), findings);
    product.identity.displayName = L"Zweites Gerät 例";
    product.identity.installerVersion = L"2.3.4.5";
    product.picture = MakePng(640, 300, 4, PaintTrack);
    return product;
}

TEST(Stamp, ProgramFindsItsProduct) {
    const ScratchFolder folder;
    const Product product = SampleProduct();
    const std::string archive = "PK\x03\x04" + std::string(3000001, 'z');
    WriteFileText(folder / L"a.zip", archive);
    const std::wstring out = folder / L"Gerät Setup.exe";
    std::vector<StampedPart> parts;
    ASSERT_EQ(StampProduct({sampleBase, folder / L"a.zip", out}, product, parts), "");
    EXPECT_EQ(parts.back().bytes, archive.size());
    EXPECT_EQ(List(folder), (std::set<std::wstring>{L"Gerät Setup.exe", L"a.zip"}));
    EXPECT_EQ(ExitCodeOf(L"\"" + out + L"\""),
              static_cast<int>(product.identity.displayName.size()));
    EXPECT_EQ(ReadResource(out, L"PNG", IDR_BACKGROUND), product.picture);
    EXPECT_EQ(ReadResource(out, RT_BITMAP, IDB_BAR), "one of the program's own resources");
    // The second time as the running program sees it: mapped as an image, sections at their places.
    for (const DWORD loading : {LOAD_LIBRARY_AS_DATAFILE, LOAD_LIBRARY_AS_IMAGE_RESOURCE})
        EXPECT_TRUE(ReadResource(out, L"DISTR", IDR_ARCHIVE, loading) == archive) << loading;
    const HMODULE module = LoadLibraryExW(out.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    for (const int size : {256, 64, 32, 16}) {
        const HANDLE icon =
            LoadImageW(module, MAKEINTRESOURCEW(IDI_PRODUCT), IMAGE_ICON, size, size, 0);
        ICONINFO info = {};
        BITMAP bitmap = {};
        ASSERT_TRUE(GetIconInfo(static_cast<HICON>(icon), &info)) << size;
        GetObjectW(info.hbmColor, sizeof bitmap, &bitmap);
        EXPECT_EQ(bitmap.bmWidth, size);
    }
    FreeLibrary(module);
    EXPECT_EQ(VersionValue(out, L"ProductVersion"), L"2.3.4.5");
    EXPECT_EQ(VersionValue(out, L"ProductName"), product.identity.displayName);
    ExpectRightChecksum(out);
}

TEST(Stamp, WritesTheChecksumOfExecutablesAlone) {
    const ScratchFolder folder;
    const std::wstring out = folder / L"out.exe";
    // Something behind the executable proper, also of an odd length and longer than one piece.
    for (const std::size_t length : {1, 2, 3000001}) {
        WriteFileText(out, Read(sampleBase) + std::string(length, 'z'));
        ASSERT_EQ(WritePeChecksum(out), 0u);
        ExpectRightChecksum(out);
    }
    for (const char* content :
         {"", "MZ", "PK and more than a header's worth of other text, all of it"}) {
        WriteFileText(out, content);
        EXPECT_EQ(WritePeChecksum(out), DWORD{ERROR_BAD_EXE_FORMAT});
        EXPECT_EQ(Read(out), content);
    }
}

TEST(Stamp, FailureLeavesNothing) {
    const ScratchFolder folder;
    const Product product = SampleProduct();
    const std::wstring stamped = folder / L"stamped.exe", text = folder / L"text.exe";
    std::vector<StampedPart> parts;
    ASSERT_EQ(StampProduct({sampleBase, L"", stamped}, product, parts), "");
    WriteFileText(text, "no executable");
    const std::tuple<std::wstring, std::wstring, const char*> unfit[] = {
        {sampleBase, folder / L"none.zip", "none.zip: the archive cannot be opened"},
        {sampleBase, text, "text.exe: is no archive"},
        {stamped, L"", "stamped.exe: is stamped already"},
        {folder / L"none.exe", L"", "none.exe: the base executable cannot be opened"},
        {text, L"", "text.exe: the base executable cannot be opened"},
        {FromHostPath(Widen(STAMP_PROGRAM)), L"", "is another program"},
    };
    for (const auto& [base, archive, expected] : unfit) {
        const std::string wrong = CheckStampJob({base, archive, L""});
        EXPECT_NE(wrong.find(expected), std::string::npos) << expected << "\n" << wrong;
    }
    // A target in use, and a base and an archive that turn out to be none.
    const auto before = List(folder);
    const std::string content = Read(stamped);
    {
        const HeldOpen held(stamped);
        EXPECT_NE(StampProduct({sampleBase, L"", stamped}, product, parts), "");
    }
    EXPECT_NE(StampProduct({text, L"", stamped}, product, parts), "");
    EXPECT_NE(StampProduct({sampleBase, folder / L"none.zip", stamped}, product, parts), "");
    EXPECT_EQ(List(folder), before);
    EXPECT_EQ(Read(stamped), content);
}

TEST(Stamp, CommandLine) {
    const ScratchFolder folder;
    // As on a build machine: paths of the Unix world where there is one.
    const std::wstring product = L" --product \"" + Widen(PRODUCTS_FOLDER) + L"/local\"";
    const std::wstring base = L" --base \"" + Widen(SAMPLE_BASE) + L"\"";
    const std::wstring out = L" --out \"" + (folder / L"x.exe") + L"\"";
    const std::pair<std::wstring, int> calls[] = {
        {L" --help", 0},
        {L"", 2},
        {product + base, 2},
        {product + base + L" --out", 2},
        {product + L" --colour blue", 2},
        {L" --product none" + base + out, 1},
        {product + base + out + L" --archive none.zip", 1},
        {product + L" --check", 0},
    };
    const std::wstring program = L"\"" + FromHostPath(Widen(STAMP_PROGRAM)) + L"\"";
    for (const auto& [arguments, code] : calls)
        EXPECT_EQ(ExitCodeOf(program + arguments), code) << Narrow(arguments);
    EXPECT_EQ(List(folder).size(), 0u);
    EXPECT_EQ(ExitCodeOf(program + product + base + out), 0);
    EXPECT_EQ(ExitCodeOf(folder / L"x.exe"), 8);
}

}  // namespace
