#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "ScratchFolder.h"
#include "StaticFiles.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(StaticFiles, ServesWhatLiesBelowTheRootAndNothingElse) {
    const ScratchFolder scratch;
    const fs::path root = scratch.path / "root";
    WriteFile(root / "sub/manifest.json", "inside");
    WriteFile(scratch.path / "secret", "outside");
    WriteFile(scratch.path / "root2/secret", "beside");
    fs::create_symlink(scratch.path / "secret", root / "link");
    fs::create_symlink(scratch.path, root / "up");
    fs::create_symlink("sub/manifest.json", root / "alias");
    fs::create_symlink(root, scratch.path / "rootlink");
    ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);

    const std::pair<std::string, int> cases[] = {
        {"/sub/manifest.json", 200},
        {"/sub/./manifest.json", 200},
        {"/alias", 200},
        {"/sub", 404},
        {"/", 404},
        {"", 403},
        {"/missing", 404},
        {"/sub/manifest.json/", 404},
        {"/pipe", 404},
        {"/../secret", 403},
        {"/sub/../../secret", 403},
        {"/sub/../sub/manifest.json", 403},
        {"/..\\secret", 403},
        {"/link", 403},
        {"/up/secret", 403},
        {"/up/root2/secret", 403},
        {std::string("/") += (scratch.path / "secret").string(), 403},
        {"/sub/manifest.json\0.zip"s, 403},
        {"/..sub", 404},
    };
    for (const fs::path& from : {root, scratch.path / "rootlink"}) {
        for (const auto& [path, status] : cases) {
            OpenedFile file;
            EXPECT_EQ(OpenStaticFile(from, path, file), status) << path;
        }
    }
    OpenedFile file;
    ASSERT_EQ(OpenStaticFile(root, "/alias", file), 200);
    char data[16];
    EXPECT_EQ(file.size, 6u);
    EXPECT_EQ(file.contentType, "application/json");
    EXPECT_EQ(std::string(data, ReadStaticFile(file, 2, data, sizeof data)), "side");
    EXPECT_EQ(ReadStaticFile(file, 6, data, sizeof data), 0u);
}

}  // namespace
