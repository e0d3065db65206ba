#include "services/Unzip.h"

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "standins/ZipBuilder.h"
#include "startup/PathBuffers.h"
#include "support/FailingCall.h"
#include "support/SetPath.h"

namespace {

// The destination holds something of an earlier run.
class UnzipToFolderTest : public testing::Test {
  protected:
    UnzipToFolderTest() {
        SetPath(extractDir, scene / L"out");
        MakeTree(scene.folder.path, L"out\\old\\file=old");
    }
    void ExpectDone(const std::string& archive, const wchar_t* tree, const std::wstring& result) {
        WriteFileText(zip, archive);
        EXPECT_EQ(UnzipToFolder(zip.c_str()), 0);
        EXPECT_FALSE(Exists(zip)) << "the archive stays";
        EXPECT_EQ(ReadTree(scene.folder.path), tree);
        EXPECT_TRUE(scene.Log().ends_with(L"Utils UnzipToFolder: result: " + result + L"|"));
    }
    void ExpectRefused(const wchar_t* lastLine) {
        EXPECT_EQ(UnzipToFolder(zip.c_str()), -1);
        EXPECT_TRUE(scene.Log().ends_with(lastLine)) << scene.Log().c_str();
    }

    const Scene scene;
    const std::wstring zip = scene / L"a.zip";
};

}  // namespace

TEST_F(UnzipToFolderTest, CountsAsDoneWhateverTheShellMakesOfIt) {
    ExpectDone(BuildZip({{.name = "deep/b.txt", .content = "b"}, {.name = "none/"}}),
               L"out\\deep\\b.txt=b out\\none\\=", L"#0");
    EXPECT_TRUE(scene.Log().starts_with(L"Utils UnzipToFolder: from [a.zip], to [out]|"));
    ExpectDone("no zip at all", L"out\\=", L"#0");
    ExpectDone(BuildZip({{.name = "bad", .content = "y", .crc = 1}}), L"out\\=", L"#13");
    const FailingCall noShell("ole32.dll", "CoCreateInstance", &CoCreateInstance, E_FAIL);
    ExpectDone("any", L"out\\=", L"[0x80004005] ...");
}

TEST_F(UnzipToFolderTest, LeavesTheArchiveWhenItDoesNotBegin) {
    EXPECT_EQ(UnzipToFolder(nullptr), -1);
    ExpectRefused(L"ERROR Utils UnzipToFolder: zip file not exists!|");
    WriteFileText(zip, "any");
    SetPath(extractDir, zip + L"\\below-a-file");
    ExpectRefused(L"|ERROR CreateDir: #3|");
    EXPECT_EQ(ReadTree(scene.folder.path), L"a.zip=any out\\old\\file=old");
}

TEST_F(UnzipToFolderTest, EndsOnAnExceptionWithTheArchiveInPlace) {
    WriteFileText(zip, "any");
    const FailingCall noText("oleaut32.dll", "SysAllocString", &SysAllocString, nullptr);
    ExpectRefused(L"ERROR Utils UnzipToFolder: exception!|");
    EXPECT_EQ(ReadTree(scene.folder.path), L"a.zip=any out\\=");
}
