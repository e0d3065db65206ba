#include "fs/FilePrimitives.h"

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "support/FailingCall.h"

using namespace std::string_literals;

TEST(CreateDir, MakesWhatIsMissing) {
    const std::pair<const wchar_t*, int> cases[] = {
        {L"there\\a\\b\\", 0},     {L"there/a", 0},       {L"there\\file", 0},
        {L"there\\file\\a\\b", 3}, {L"made\\b?\\c", 123},
    };
    for (const auto& [path, error] : cases) {
        const Scene scene;
        MakeTree(scene.folder.path, L"there\\file=");
        EXPECT_EQ(CreateDir(scene / path), error == 0 ? 0 : -1) << path;
        EXPECT_EQ(Exists(scene / path), error == 0) << path;
        EXPECT_EQ(Exists(scene / L"made"), error == 123) << path;
        const std::wstring first = std::wstring(L"CreateDir: ") + path + L"|";
        EXPECT_EQ(scene.Log(),
                  first + (error ? L"ERROR CreateDir: #" + std::to_wstring(error) + L"|" : L""));
    }
}

TEST(RemoveDir, LeavesOnlyWhatCannotBeDeleted) {
    Scene scene;
    MakeTree(scene / L"app", L"a= b= c= sub\\deep\\d=");
    scene.Hold(L"app\\b", Scene::never);
    RemoveDir((scene / L"app").c_str());
    scene.held.reset();
    EXPECT_EQ(ReadTree(scene.folder.path), L"app\\b=");
    RemoveDir(nullptr);
    RemoveDir((scene / L"none").c_str());
    EXPECT_EQ(scene.Log(),
              L"RemoveDir: app|WARN RemoveDir: DeleteFile(app\\b) error: #32|RemoveDir: app\\sub|"
              L"RemoveDir: app\\sub\\deep|WARN RemoveDir: RemoveDirectory(app) error: #145|"
              L"RemoveDir: none|WARN RemoveDir: FindFirstFile error: #3|");
}

TEST(RemoveDir, NeverEntersALink) {
    constexpr DWORD cloudTag = 0x9000001A;
    for (const DWORD tag : {DWORD{IO_REPARSE_TAG_SYMLINK}, cloudTag}) {
        const Scene scene;
        MakeTree(scene / L"app", L"a= link\\keep=");
        const auto link = FakeLink(L"link", tag);
        RemoveDir((scene / L"app").c_str());
        // A folder that is no link, but kept in a cloud, goes like any other.
        EXPECT_EQ(ReadTree(scene / L"app"), tag == cloudTag ? L"" : L"link\\keep=");
    }
}

TEST(ReadTextFile, ReadsBlockByBlock) {
    const std::string mark = "\xEF\xBB\xBF", full(1024, 'f'), longer(3000, 'l');
    const std::pair<std::string, std::string> cases[] = {
        {full, full},
        {longer, longer},
        {mark, ""},
        {"\xEF\xBBx", "\xEF\xBBx"},
        {mark + mark + longer, mark + longer},
        {full + mark + "x", full + mark + "x"},
        {"a\0"s + std::string(1022, 'x') + "b\0x"s, "ab"},
    };
    const ScratchFolder folder;
    const std::wstring path = folder / L"file";
    std::string content = "before";
    EXPECT_EQ(ReadTextFile(path, content), 0);
    EXPECT_EQ(content, "");
    for (const auto& [written, expected] : cases) {
        WriteFileText(path, written);
        EXPECT_EQ(ReadTextFile(path, content), 0);
        EXPECT_EQ(content, expected) << written.size();
        EXPECT_TRUE(DeleteFileW(path.c_str())) << "still open";
    }
}

TEST(ReadTextFile, SharesTheFileWithNobodyAndKeepsWhatCameBeforeAFailedRead) {
    const ScratchFolder folder;
    const std::wstring path = folder / L"file";
    WriteFileText(path, std::string(3000, 'x'));
    // One that would let others in.
    const HANDLE reader =
        CreateFileW(path.c_str(), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string content = "before";
    const LogCapture log;
    EXPECT_EQ(ReadTextFile(path, content), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(content, "");
    EXPECT_EQ(log.Lines(), L"");
    CloseHandle(reader);
    int reads = 0;
    const auto read = Replace("kernel32.dll", "ReadFile", ReadFile, [&](auto real, auto... given) {
        return ++reads == 2 ? FALSE : real(given...);
    });
    EXPECT_EQ(ReadTextFile(path, content), 0);
    EXPECT_EQ(content, std::string(1024, 'x'));
}

TEST(WriteBufferToFile, ReplacesTheFileOrLeavesTheLastError) {
    const ScratchFolder folder;
    const std::wstring path = folder / L"file";
    for (const std::string& content : {"long content"s, "a\0b"s, ""s}) {
        EXPECT_EQ(WriteBufferToFile(content.data(), content.size(), path), 0);
        EXPECT_EQ(ReadFileText(path), content);
    }
    const LogCapture log;
    EXPECT_EQ(WriteBufferToFile("x", 1, folder / L"no\\file"), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    const FailingCall write("kernel32.dll", "WriteFile", &WriteFile, FALSE, ERROR_DISK_FULL);
    EXPECT_EQ(WriteBufferToFile("x", 1, path), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_TRUE(DeleteFileW(path.c_str())) << "still open";
    EXPECT_EQ(log.Lines(), L"");
}
