#include <gtest/gtest.h>

#include "fs/RetryingOperations.h"
#include "fs/Scene.h"

TEST(SHRemoveObject, TriesSixTimesWhileTheFileIsHeld) {
    for (const int freedAt : {0, 1, 5, Scene::never}) {
        SCOPED_TRACE(freedAt);
        Scene scene;
        const std::wstring path = scene / L"held.bin";
        WriteFileText(path, "x");
        scene.Hold(L"held.bin", freedAt);
        const bool isGone = freedAt != Scene::never;
        const int retries = isGone ? freedAt : 5;
        SetLastError(0);

        const int result = SHRemoveObject(path, false);

        EXPECT_EQ(GetLastError() == ERROR_SHARING_VIOLATION, !isGone);
        EXPECT_EQ(result, isGone ? 0 : -1);
        EXPECT_EQ(Exists(path), !isGone);
        EXPECT_EQ(scene.pauses, std::vector<DWORD>(retries, 100));
        EXPECT_EQ(scene.from, path);
        EXPECT_EQ(scene.log.Lines(),
                  Info(L"SHRemoveObject: " + path) +
                      Repeat(retries, Warn(L"SHRemoveObject: error, trying again: ", 32)) +
                      (isGone ? Info(L"SHRemoveObject: Done") : Error(L"SHRemoveObject: ", 32)));
    }
}

TEST(SHRemoveObject, WildcardTakesFilesAndLeavesFolders) {
    const Scene scene;
    MakeTree(scene / L"old", L"a.tmp= b.tmp= c.txt= d.tmp\\e=");
    EXPECT_EQ(SHRemoveObject(scene / L"old\\*.tmp", false), 0);
    EXPECT_EQ(ReadTree(scene / L"old"), L"c.txt= d.tmp\\e=");
    EXPECT_EQ(SHRemoveObject(scene / L"old", false), 0);
    EXPECT_FALSE(Exists(scene / L"old"));
    EXPECT_EQ(scene.shell, "dd");
}

TEST(SHRenameObject, ReplacesTheTarget) {
    const Scene scene;
    MakeTree(scene / L"", L"new\\a=new app\\b=old");
    EXPECT_EQ(SHRenameObject(scene / L"new", scene / L"app"), 0);
    EXPECT_EQ(ReadTree(scene / L""), L"app\\a=new");
    EXPECT_EQ(scene.shell, "d");
    EXPECT_EQ(scene.log.Lines(),
              Info(L"SHRenameObject: [" + (scene / L"new") + L"] to [" + (scene / L"app") + L"]") +
                  Info(L"SHRemoveObject: " + (scene / L"app")) + Info(L"SHRemoveObject: Done") +
                  Info(L"MoveObject: Done"));
}

// The target's parent is missing, which only the Shell makes.
TEST(SHRenameObject, AsksTheShellOnce) {
    for (const int answer : {32, 2, Scene::real}) {
        SCOPED_TRACE(answer);
        Scene scene({answer});
        const std::wstring from = scene / L"from", to = scene / L"a\\b\\to";
        WriteFileText(from, "x");
        const bool isDone = answer == Scene::real;
        SetLastError(0);
        EXPECT_EQ(SHRenameObject(from, to), isDone ? 0 : -1);
        EXPECT_TRUE(isDone || static_cast<int>(GetLastError()) == answer);
        EXPECT_EQ(Exists(to), isDone);
        EXPECT_EQ(Exists(from), !isDone);
        EXPECT_EQ(scene.shell, "m");
        EXPECT_EQ(scene.pauses.size(), 4u);
        EXPECT_EQ(scene.log.Lines(), Info(L"SHRenameObject: [" + from + L"] to [" + to + L"]") +
                                         Repeat(5, Warn(L"MoveObject: error, trying again: ", 3)) +
                                         (isDone ? Info(L"SHRenameObject: Done")
                                                 : Error(L"SHRenameObject: ", answer)));
    }
}

TEST(MissingPath, IsASuccess) {
    const Scene scene;
    WriteFileText(scene / L"to", "old");
    const std::wstring from = scene / L"from", to = scene / L"to", pair = from + L"] to [" + to;
    EXPECT_EQ(SHRemoveObject(from, true), 0);
    EXPECT_EQ(SHMoveObject(from, to, true), 0);
    EXPECT_EQ(SHCopyObject(from, to, true), 0);
    EXPECT_EQ(SHRenameObject(from, to), 0);
    EXPECT_EQ(ReadFileText(to), "old");
    EXPECT_EQ(scene.shell, "");
    const std::wstring moveCopy =
        Info(L"SHMoveCopyObject: [" + pair + L"]") + Info(L"SHMoveCopyObject: Done");
    EXPECT_EQ(scene.log.Lines(), Info(L"SHRemoveObject: " + from) +
                                     Info(L"SHRemoveObject: Done: file or folder not exists!") +
                                     Info(L"SHMoveObject") + moveCopy + Info(L"SHCopyObject") +
                                     moveCopy + Info(L"SHRenameObject: [" + pair + L"]") +
                                     Info(L"SHRenameObject: Done"));
}

TEST(HeldTarget, EndsTheOperation) {
    for (const wchar_t* word : {L"SHRenameObject", L"SHMoveObject", L"SHCopyObject"}) {
        for (const bool asks : {false, true}) {
            SCOPED_TRACE(testing::Message() << word << asks);
            const bool isRename = word[2] == L'R';
            Scene scene({}, std::vector<int>(asks && !isRename ? 1 : 0, IDCANCEL));
            MakeTree(scene / L"", L"from=new to=old");
            scene.Hold(L"to", Scene::never);
            const std::wstring from = scene / L"from", to = scene / L"to";
            EXPECT_EQ(isRename          ? SHRenameObject(from, to)
                      : word[2] == L'M' ? SHMoveObject(from, to, asks)
                                        : SHCopyObject(from, to, asks),
                      -1);
            EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
            EXPECT_EQ(scene.shell, "dddddd");
            EXPECT_TRUE(scene.log.Has(std::wstring(L"ERROR FSUtils ") +
                                      (isRename ? word : L"SHMoveCopyObject") +
                                      L": error of SHRemoveObject\n"));
            EXPECT_TRUE(Exists(from));
        }
    }
}
