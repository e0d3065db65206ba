#include <windows.h>
#include <imagehlp.h>

#include <gtest/gtest.h>

#include "kit/PeFile.h"
#include "kit/Stamp.h"
#include "resources/ResourceIds.h"
#include "Samples.h"

namespace {

TEST(Stamp, ProgramFindsItsProduct) {
    const ScratchFolder folder;
    Product product = SampleProduct();
    product.identity.displayName = L"Zweites Gerät 例";
    product.identity.installerVersion = L"2.3.4.5";
    const std::string archive = "PK\x03\x04" + std::string(3000001, 'z');
    WriteFileText(folder / L"a.zip", archive);
    const std::wstring out = folder / L"Gerät Setup.exe";
    std::vector<StampedPart> parts;
    ASSERT_FALSE(StampProduct({sampleBase, folder / L"a.zip", out}, product, parts));
    EXPECT_EQ(ExitCodeOf(out), static_cast<int>(product.identity.displayName.size()));
    EXPECT_EQ(ReadResource(out, backgroundType, IDR_BACKGROUND), product.picture);
    EXPECT_EQ(ReadResource(out, RT_BITMAP, IDB_BAR), "one of the program's own resources");
    // The second time as the running program sees it: mapped as an image, sections at their places.
    for (const DWORD loading : {LOAD_LIBRARY_AS_DATAFILE, LOAD_LIBRARY_AS_IMAGE_RESOURCE})
        EXPECT_TRUE(ReadResource(out, archiveType, IDR_ARCHIVE, loading) == archive) << loading;
    const HMODULE module = LoadLibraryExW(out.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    EXPECT_NE(LoadImageW(module, MAKEINTRESOURCEW(IDI_PRODUCT), IMAGE_ICON, 64, 64, 0), nullptr);
    FreeLibrary(module);
    std::string block = ReadResource(out, RT_VERSION, VS_VERSION_INFO);
    void* version = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\041904b0\\ProductVersion",
                               &version, &length));
    EXPECT_STREQ(static_cast<wchar_t*>(version), L"2.3.4.5");
    // Of any length: with something behind the executable proper, longer than one piece too.
    for (const std::size_t added : {0, 1, 3000001}) {
        WriteFileText(out, ReadFileText(out) + std::string(added, 'z'));
        ASSERT_TRUE(added == 0 || WritePeChecksum(out) == 0);
        DWORD written = 0, computed = 0;
        EXPECT_EQ(MapFileAndCheckSumW(out.c_str(), &written, &computed), DWORD{CHECKSUM_SUCCESS});
        EXPECT_EQ(written, computed) << added;
    }
}

}  // namespace
