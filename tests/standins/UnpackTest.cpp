#include "UnpackToFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ZipBuilder.h"
#include "support/Scratch.h"
#include "support/Waiting.h"

namespace {

namespace fs = std::filesystem;

class UnpackToFolderTest : public testing::Test {
  protected:
    HRESULT Unpack(const std::string& archive) {
        WriteFileText(scratch / L"a.zip", archive);
        return UnpackToFolder(scratch / L"a.zip", target);
    }

    const ScratchFolder scratch;
    const fs::path root = scratch.path, target = root / "target", outside = root / "outside";
    const bool areMade = fs::create_directory(target) && fs::create_directory(outside);
};

// Wine makes no symbolic links for programs of Windows, but starts programs of the machine. Those
// have no handle to wait for, so it waits until the link is there.
bool MakeLink(const std::wstring& text, const fs::path& link) {
    std::wstring line = L"x -s " + text + L' ' + link.filename().native();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    return CreateProcessW(L"Z:\\usr\\bin\\ln", line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                          link.parent_path().c_str(), &startup, &process) &&
           WaitUntil([&] { return fs::exists(link); }, 5000);
}

}  // namespace

TEST_F(UnpackToFolderTest, WritesNothingOfARefusedArchive) {
    const ZipPart good = {.name = "good", .content = "x"};
    const std::pair<std::string, DWORD> cases[] = {
        {BuildZip({good, {.name = "../evil"}}), ERROR_BAD_PATHNAME},
        {BuildZip({good, {.name = "b", .flags = 1}}), ERROR_NOT_SUPPORTED},
        {BuildZip({good}).substr(0, 60), ERROR_INVALID_DATA},
    };
    for (const auto& [archive, error] : cases) {
        EXPECT_EQ(Unpack(archive), HRESULT_FROM_WIN32(error));
        EXPECT_TRUE(fs::is_empty(target));
    }
    EXPECT_FALSE(fs::exists(root / "evil"));
    EXPECT_EQ(Unpack(BuildZip({good, {.name = "bad", .content = "y", .crc = 1}})),
              HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_FALSE(fs::exists(target / "bad"));
}

TEST_F(UnpackToFolderTest, FollowsNoLinksInTheFolder) {
    WriteFileText(outside / "file", "untouched");
    ASSERT_TRUE(CreateHardLinkW((target / "file").c_str(), (outside / "file").c_str(), nullptr));
    ASSERT_TRUE(MakeLink(L"../outside/file", target / "symbolic"));
    ASSERT_TRUE(MakeLink(L"../outside", target / "folder"));
    EXPECT_EQ(Unpack(BuildZip(
                  {{.name = "file", .content = "new"}, {.name = "symbolic", .content = "new"}})),
              S_OK);
    EXPECT_EQ(ReadFileText(target / "file"), "new");
    EXPECT_EQ(ReadFileText(target / "symbolic"), "new");
    EXPECT_EQ(Unpack(BuildZip({{.name = "folder/file", .content = "new"}})),
              HRESULT_FROM_WIN32(ERROR_CANT_RESOLVE_FILENAME));
    EXPECT_EQ(ReadFileText(outside / "file"), "untouched");
}
