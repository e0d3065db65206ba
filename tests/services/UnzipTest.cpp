#include "services/Unzip.h"

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "fs/Scene.h"
#include "standins/ZipBuilder.h"
#include "startup/PathBuffers.h"
#include "support/SetPath.h"

namespace {

// The destination holds something of an earlier run.
class UnzipToFolderTest : public testing::Test {
  protected:
    UnzipToFolderTest() {
        SetPath(extractDir, scene / L"out");
        MakeTree(scene.folder.path, L"out\\old\\file=old");
        WriteFileText(zip, BuildZip({{.name = "a.txt", .content = "a"},
                                     {.name = "deep/er/b.txt", .content = "b"},
                                     {.name = "none/"}}));
    }
    void ExpectDone(const std::wstring& resultText) {
        const LogCapture log;
        EXPECT_EQ(UnzipToFolder(zip.c_str()), 0);
        EXPECT_FALSE(Exists(zip)) << "the archive stays";
        EXPECT_FALSE(Exists(leftover));
        EXPECT_TRUE(Exists(extractDir));
        EXPECT_TRUE(
            log.Has(L"INFO Utils UnzipToFolder: from [" + zip + L"], to [" + extractDir + L"]\n"));
        EXPECT_TRUE(log.Has(L"INFO Utils UnzipToFolder: result: " + resultText)) << log.Lines();
    }
    void ExpectRefused(const std::wstring& line) {
        const bool hadArchive = Exists(zip);
        const LogCapture log;
        EXPECT_EQ(UnzipToFolder(zip.c_str()), -1);
        EXPECT_EQ(Exists(zip), hadArchive);
        EXPECT_TRUE(log.Has(line)) << log.Lines();
        EXPECT_FALSE(log.Has(L"result:"));
    }

    const Scene scene;
    const std::wstring zip = scene / L"a.zip", leftover = scene / L"out\\old\\file";
};

}  // namespace

TEST_F(UnzipToFolderTest, CountsAsDoneWhateverTheShellMakesOfIt) {
    ExpectDone(ErrorText(0));
    EXPECT_EQ(ReadTree(extractDir), L"a.txt=a deep\\er\\b.txt=b none\\=");
    WriteFileText(zip, "no zip at all");
    ExpectDone(ErrorText(0));
    EXPECT_EQ(ReadTree(extractDir), L"");
    WriteFileText(zip, BuildZip({{.name = "bad", .content = "y", .crc = 1}}));
    ExpectDone(ErrorText(ERROR_INVALID_DATA));
    WriteFileText(zip, "any");
    const Replaced noShell = Replace("ole32.dll", "CoCreateInstance", CoCreateInstance,
                                     [](auto, auto&&...) { return REGDB_E_CLASSNOTREG; });
    ExpectDone(HResultText(REGDB_E_CLASSNOTREG) + L"\n");
}

TEST_F(UnzipToFolderTest, LeavesTheArchiveWhenItDoesNotBegin) {
    {
        const LogCapture log;
        EXPECT_EQ(UnzipToFolder(nullptr), -1);
        EXPECT_EQ(log.Lines(), L"ERROR Utils UnzipToFolder: NULL in args\n");
        const HeldOpen held(leftover);
        ExpectRefused(L"ERROR FSUtils SHRemoveObject: " + ErrorText(ERROR_SHARING_VIOLATION));
    }
    SetPath(extractDir, zip + L"\\below-a-file");
    ExpectRefused(L"ERROR FSUtils CreateDir: ");
    SetPath(extractDir, scene / L"out");
    DeleteFileW(zip.c_str());
    ExpectRefused(L"ERROR Utils UnzipToFolder: zip file not exists!\n");
    EXPECT_TRUE(Exists(leftover));
}

TEST_F(UnzipToFolderTest, EndsOnAnExceptionWithTheArchiveInPlace) {
    int initialised = 0;
    const Replaced in = Replace("ole32.dll", "CoInitialize", CoInitialize, [&](auto real, auto) {
        ++initialised;
        return real(nullptr);
    });
    const Replaced out = Replace("ole32.dll", "CoUninitialize", CoUninitialize, [&](auto real) {
        --initialised;
        real();
    });
    const Replaced noText = Replace("oleaut32.dll", "SysAllocString", SysAllocString,
                                    [](auto, auto) { return nullptr; });
    ExpectRefused(L"ERROR Utils UnzipToFolder: exception!\n");
    EXPECT_EQ(initialised, 0);
}
