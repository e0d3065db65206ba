#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <string>
#include <vector>

#include "ScratchFolder.h"
#include "StaticFiles.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(StaticFiles, ServesWhatLiesBelowTheRootAndNothingElse) {
    const ScratchFolder scratch;
    const fs::path root = scratch.path / "root", secret = scratch.path / "secret";
    WriteFile(root / "sub/a.json", "inside");
    WriteFile(secret, "outside");
    WriteFile(scratch.path / "root2/secret", "beside");
    fs::create_symlink(secret, root / "link");
    fs::create_symlink(scratch.path, root / "up");
    fs::create_symlink("sub/a.json", root / "alias");
    fs::create_symlink(root, scratch.path / "rootlink");
    ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
    const std::map<int, std::vector<std::string>> cases = {
        {200, {"/sub/a.json", "/sub/./a.json", "/alias"}},
        {403,
         {"", "/../secret", "/sub/../../secret", "/sub/../sub/a.json", "/..\\secret", "/link",
          "/up/secret", "/up/root2/secret", std::string("/") += secret.string(),
          "/sub/a.json\0.zip"s}},
        {404, {"/", "/sub", "/missing", "/sub/a.json/", "/pipe", "/..sub"}}};
    for (const fs::path& from : {root, scratch.path / "rootlink"})
        for (const auto& [status, paths] : cases)
            for (const std::string& path : paths) {
                OpenedFile file;
                EXPECT_EQ(OpenStaticFile(from, path, file), status) << path;
            }
}

}  // namespace
