#include <windows.h>
#include <imagehlp.h>

#include <gtest/gtest.h>

#include <cstring>
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

const std::wstring sampleBase = FromHostPath(Widen(SAMPLE_BASE));

std::set<std::wstring> List(const ScratchFolder& folder) {
    std::set<std::wstring> names;
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW((folder / L"*").c_str(), &entry);
    do {
        names.insert(entry.cFileName);
    } while (FindNextFileW(find, &entry));
    FindClose(find);
    return names;
}

std::string Resource(HMODULE module, const wchar_t* type, unsigned id) {
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    if (found == nullptr)
        return "none";
    return {static_cast<const char*>(LockResource(LoadResource(module, found))),
            SizeofResource(module, found)};
}

std::wstring String(HMODULE module, unsigned id) {
    wchar_t text[260];
    return {text, static_cast<std::size_t>(LoadStringW(module, id, text, 260))};
}

/// A text as the program finds it: by the offset at its place in the table.
std::wstring TextAt(const std::string& table, unsigned column, unsigned row) {
    std::uint32_t numbers[3 + 12 * 20];
    std::memcpy(numbers, table.data(), sizeof numbers);
    EXPECT_EQ(std::string(table, 0, 4), "TXT1");
    EXPECT_EQ(numbers[1], 12u);
    EXPECT_EQ(numbers[2], 20u);
    const std::uint32_t offset = numbers[3 + column * 20 + row];
    EXPECT_EQ(offset % 2, 0u);
    EXPECT_LT(offset, table.size());
    return offset == 0 ? L"" : reinterpret_cast<const wchar_t*>(table.data() + offset);
}

std::wstring VersionValue(const std::wstring& path, const wchar_t* key) {
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    wchar_t* value = nullptr;
    UINT length = 0;
    if (!GetFileVersionInfoW(path.c_str(), 0, block.size(), block.data()) ||
        !VerQueryValueW(block.data(), (std::wstring(L"\\StringFileInfo\\041904b0\\") + key).c_str(),
                        reinterpret_cast<void**>(&value), &length))
        return L"none";
    return value;
}

IMAGE_NT_HEADERS32 Headers(const std::string& file) {
    IMAGE_DOS_HEADER dosHeader;
    IMAGE_NT_HEADERS32 headers;
    std::memcpy(&dosHeader, file.data(), sizeof dosHeader);
    std::memcpy(&headers, file.data() + dosHeader.e_lfanew, sizeof headers);
    return headers;
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
    EXPECT_EQ(List(folder), (std::set<std::wstring>{L".", L"..", L"Gerät Setup.exe", L"a.zip"}));

    const HMODULE module = LoadLibraryExW(out.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(module, nullptr);
    const Identity& identity = product.identity;
    EXPECT_EQ(String(module, IDS_DISPLAY_NAME), identity.displayName);
    EXPECT_EQ(String(module, IDS_SLUG), identity.slug);
    EXPECT_EQ(String(module, IDS_SERVER_HOST), identity.serverHost);
    EXPECT_EQ(String(module, IDS_SERVER_PORT), identity.serverPort);
    EXPECT_EQ(String(module, IDS_BASE_URL), identity.baseUrl);
    EXPECT_EQ(String(module, IDS_PATH_PREFIX), L"");
    EXPECT_EQ(String(module, IDS_APP_GUID), identity.guid);
    EXPECT_EQ(Resource(module, L"PNG", IDR_BACKGROUND), product.picture);
    EXPECT_EQ(Resource(module, L"DISTR", IDR_ARCHIVE), archive);
    // As the running program sees it: mapped as an image, sections at their places.
    const HMODULE image = LoadLibraryExW(out.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Resource(image, L"DISTR", IDR_ARCHIVE), archive);
    FreeLibrary(image);
    EXPECT_EQ(Resource(module, RT_RCDATA, IDB_BAR), "one of the program's own resources");
    const std::string table = Resource(module, L"TEXTS", IDR_TEXTS);
    for (unsigned column = 0; column < textColumns; ++column) {
        for (unsigned row = 0; row < textRows; ++row)
            EXPECT_EQ(TextAt(table, column, row), product.texts[column][row]);
    }
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
    EXPECT_EQ(VersionValue(out, L"ProductName"), identity.displayName);
    EXPECT_EQ(RunProgram(L"\"" + out + L"\""), static_cast<int>(identity.displayName.size()));
}

TEST(Stamp, KeepsHardeningAndWritesTheChecksum) {
    const ScratchFolder folder;
    const std::wstring out = folder / L"out.exe";
    const auto expectChecksum = [&out] {
        DWORD written = 0, computed = 0;
        ASSERT_EQ(MapFileAndCheckSumW(out.c_str(), &written, &computed), DWORD{CHECKSUM_SUCCESS});
        EXPECT_EQ(written, computed);
    };
    std::vector<StampedPart> parts;
    ASSERT_EQ(StampProduct({sampleBase, L"", out}, SampleProduct(), parts), "");
    const IMAGE_NT_HEADERS32 before = Headers(Read(sampleBase)), after = Headers(Read(out));
    EXPECT_EQ(after.OptionalHeader.DllCharacteristics, before.OptionalHeader.DllCharacteristics);
    EXPECT_EQ(after.FileHeader.Characteristics, before.FileHeader.Characteristics);
    const auto& relocations = after.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC];
    EXPECT_EQ(relocations.Size,
              before.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size);
    EXPECT_NE(relocations.Size, 0u);
    expectChecksum();
    // Something behind the executable proper, also of an odd length and longer than one piece.
    for (const std::size_t length : {1, 2, 3000001}) {
        WriteFileText(out, Read(sampleBase) + std::string(length, 'z'));
        ASSERT_EQ(WritePeChecksum(out), 0u);
        expectChecksum();
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
    const struct {
        std::wstring base, archive;
        const char* expected;
    } unfit[] = {
        {sampleBase, folder / L"none.zip", "none.zip: the archive cannot be opened"},
        {sampleBase, text, "text.exe: is no archive"},
        {stamped, L"", "stamped.exe: is stamped already"},
        {folder / L"none.exe", L"", "none.exe: the base executable cannot be opened"},
        {text, L"", "text.exe: the base executable cannot be opened"},
    };
    for (const auto& entry : unfit)
        EXPECT_NE(CheckStampJob({entry.base, entry.archive, L""}).find(entry.expected),
                  std::string::npos)
            << entry.expected;
    EXPECT_EQ(CheckStampJob({sampleBase, L"", L""}), "");

    // A target in use, and a base that turns out to be none.
    const auto before = List(folder);
    const std::string content = Read(stamped);
    const HANDLE holder =
        CreateFileW(stamped.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(StampProduct({sampleBase, L"", stamped}, product, parts), "");
    CloseHandle(holder);
    EXPECT_NE(StampProduct({text, L"", stamped}, product, parts), "");
    EXPECT_NE(StampProduct({sampleBase, folder / L"none.zip", stamped}, product, parts), "");
    EXPECT_EQ(List(folder), before);
    EXPECT_EQ(Read(stamped), content);
}

TEST(Stamp, CommandLine) {
    const ScratchFolder folder;
    const std::wstring program = L"\"" + FromHostPath(Widen(STAMP_PROGRAM)) + L"\" ";
    // As on a build machine: paths of the Unix world where there is one.
    const std::wstring product = L"--product \"" + Widen(PRODUCTS_FOLDER) + L"/local\" ";
    const std::wstring base = L"--base \"" + Widen(SAMPLE_BASE) + L"\" ";
    const std::wstring out = L"--out \"" + (folder / L"x.exe") + L"\" ";
    EXPECT_EQ(RunProgram(program + L"--help"), 0);
    EXPECT_EQ(RunProgram(program), 2);
    EXPECT_EQ(RunProgram(program + product + base), 2);
    EXPECT_EQ(RunProgram(program + product + base + L"--out"), 2);
    EXPECT_EQ(RunProgram(program + product + L"--colour blue"), 2);
    EXPECT_EQ(RunProgram(program + L"--product none " + base + out), 1);
    EXPECT_EQ(RunProgram(program + product + base + out + L"--archive none.zip"), 1);
    EXPECT_EQ(RunProgram(program + product + L"--check"), 0);
    EXPECT_EQ(List(folder).size(), 2u);
    EXPECT_EQ(RunProgram(program + product + base + out), 0);
    EXPECT_EQ(RunProgram(folder / L"x.exe"), 8);
}

}  // namespace
