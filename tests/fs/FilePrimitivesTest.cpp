#include "fs/FilePrimitives.h"

#include <fstream>

#include "fs/Scene.h"

using namespace std::string_literals;

TEST(CreateDir, FailsWhenThePathIsMissingInTheEnd) {
    const Scene scene;
    // Like a server's name its start can be neither seen nor made.
    EXPECT_EQ(CreateDir(L"\\\\?\\" + (scene / L"a\\b")), 0);
    const auto make = Failing(CreateDirectoryW, FALSE, ERROR_ACCESS_DENIED);
    EXPECT_EQ(CreateDir(scene / L"a\\c\\d"), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ReadTree(scene.path), L"a\\b\\=");
    EXPECT_EQ(scene.log.Count(L"ERROR "), 1);
}

TEST(RemoveDir, NeverEntersALink) {
    const Scene scene;
    MakeTree(scene.path, L"app\\a= app\\cloud\\b= app\\link\\keep=");
    RemoveDir((scene / L"app").c_str());
    EXPECT_EQ(ReadTree(scene.path), L"app\\link\\keep=");
}

TEST(ReadTextFile, ReadsWhatWasWrittenBlockByBlock) {
    const std::string mark = "\xEF\xBB\xBF", full(1024, 'f'), longer(3000, 'l');
    const std::pair<std::string, std::string> rows[] = {
        {full, full},
        {mark + mark + longer, mark + longer},
        {"a\0"s + std::string(1022, 'x') + "b\0x"s, "ab"}};
    const ScratchFolder folder;
    std::string content;
    for (const auto& [written, expected] : rows) {
        EXPECT_EQ(WriteBufferToFile(written.data(), written.size(), folder / L"file"), 0);
        EXPECT_EQ(ReadTextFile(folder / L"file", content), 0);
        EXPECT_EQ(content, expected) << written.size();
    }
    // Nobody else may have it open, whatever he would share.
    const std::ifstream reader((folder / L"file").c_str());
    EXPECT_EQ(ReadTextFile(folder / L"file", content), -1);
}
