#include "fs/FilePrimitives.h"

#include <gtest/gtest.h>

#include "fs/Scene.h"

TEST(CreateDir, MakesWhatIsMissing) {
    struct {
        const char* name;
        const wchar_t* path;
        std::vector<std::wstring> tried;
        /// 0 when all goes well.
        DWORD error;
    } const cases[] = {
        {"there already", L"\\there", {}, 0},
        {"parents and a separator at the end", L"\\a\\b\\", {L"\\a", L"\\a\\b"}, 0},
        {"mixed separators", L"\\a/b", {L"\\a", L"\\a/b"}, 0},
        {"a file on the way", L"\\file\\a\\b", {L"\\file\\a"}, ERROR_PATH_NOT_FOUND},
        {"a file at the end", L"\\there\\file", {}, 0},
        {"a bad name behind a good one", L"\\a\\b?\\c", {L"\\a", L"\\a\\b?"}, ERROR_INVALID_NAME},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const Scene scene;
        MakeTree(scene / L"", L"there\\file= file=");
        const std::size_t start = scene.folder.path.size();
        std::vector<std::wstring> tried;
        const auto create = Replace("kernel32.dll", "CreateDirectoryW", CreateDirectoryW,
                                    [&](auto real, LPCWSTR path, LPSECURITY_ATTRIBUTES security) {
                                        tried.push_back(path + start);
                                        return real(path, security);
                                    });
        const std::wstring path = scene.folder.path + test.path;
        EXPECT_EQ(CreateDir(path), test.error == 0 ? 0 : -1);
        EXPECT_EQ(tried, test.tried);
        EXPECT_EQ(Exists(path), test.error == 0);
        EXPECT_EQ(scene.log.Lines(), Info(L"CreateDir: " + path) +
                                         (test.error ? Error(L"CreateDir: ", test.error) : L""));
    }
}

TEST(RemoveDir, LeavesOnlyWhatCannotBeDeleted) {
    Scene scene;
    const std::wstring app = scene / L"app";
    MakeTree(app, L"a= b= c= sub\\deep\\d=");
    scene.Hold(L"app\\b", Scene::never);
    RemoveDir(app.c_str());
    scene.held.reset();
    EXPECT_EQ(ReadTree(app), L"b=");
    RemoveDir(nullptr);
    RemoveDir((scene / L"none").c_str());
    EXPECT_EQ(
        scene.log.Lines(),
        Info(L"RemoveDir: " + app) + Warn(L"RemoveDir: DeleteFile(" + app + L"\\b) error: ", 32) +
            Info(L"RemoveDir: " + app + L"\\sub") + Info(L"RemoveDir: " + app + L"\\sub\\deep") +
            Warn(L"RemoveDir: RemoveDirectory(" + app + L") error: ", ERROR_DIR_NOT_EMPTY) +
            Info(L"RemoveDir: " + (scene / L"none")) +
            Warn(L"RemoveDir: FindFirstFile error: ", ERROR_PATH_NOT_FOUND));
    RemoveDir(app.c_str());
    EXPECT_FALSE(Exists(app));
}

TEST(RemoveDir, NeverEntersALink) {
    constexpr DWORD cloudTag = 0x9000001A;
    for (const DWORD tag :
         {DWORD{IO_REPARSE_TAG_SYMLINK}, DWORD{IO_REPARSE_TAG_MOUNT_POINT}, cloudTag}) {
        const Scene scene;
        MakeTree(scene / L"app", L"a= link\\keep=");
        const auto link = FakeLink(L"link", tag);
        RemoveDir((scene / L"app").c_str());
        // A folder that is no link, but kept in a cloud, goes like any other.
        EXPECT_EQ(Exists(scene / L"app\\link\\keep"), tag != cloudTag);
        EXPECT_EQ(scene.log.Has(L"RemoveDir: RemoveDirectory(" + (scene / L"app\\link")),
                  tag != cloudTag);
        EXPECT_FALSE(Exists(scene / L"app\\a"));
    }
}
