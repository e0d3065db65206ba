#include <gtest/gtest.h>

#include "fs/RetryingOperations.h"
#include "fs/Scene.h"

namespace {

constexpr int never = Scene::never;

struct PlainCase {
    const char* name;
    unsigned long (*run)(const std::wstring&, const std::wstring&);
    const wchar_t* source;
    const wchar_t* target;
    /// The pause after which the source can be had; 0 when it is never held.
    int freedAt;
    /// Of the attempts that fail.
    std::vector<DWORD> errors;
};

const PlainCase plainCases[] = {
    {"move replaces", MoveObject, L"file", L"other", 0, {}},
    {"move held until the last attempt", MoveObject, L"file", L"none", 4, {32, 32, 32, 32}},
    {"only the first move replaces", MoveObject, L"file", L"other", 1, {32, 183, 183, 183, 183}},
    {"move held", MoveObject, L"file", L"none", never, {32, 32, 32, 32, 32}},
    {"move without parent", MoveObject, L"file", L"no\\none", 0, {3, 3, 3, 3, 3}},
    {"copy", CopyObject, L"file", L"none", 0, {}},
    {"the last copy replaces", CopyObject, L"file", L"other", 4, {32, 32, 32, 32}},
    {"copy held", CopyObject, L"file", L"none", never, {32, 32, 32, 32, 32}},
    {"copy of a folder", CopyObject, L"folder", L"none", 0, {5, 5, 5, 5, 5}},
};

struct ShellCase {
    const char* name;
    UINT operation;
    std::vector<int> answers;
    const char* shell;
    /// Those of the calls that fail, up to the delete.
    std::vector<int> failures;
    bool isSourceLeft;
};

const std::vector<int> sixDiffer = {2, 2, 2, 2, 2, 3};
const std::vector<int> six32(6, 32);
const std::vector<int> sourceHeld = {32, Scene::real, 32, 32, 32, 32, 32, 32};

const ShellCase shellCases[] = {
    {"a held move goes on as a copy", FO_MOVE, {32}, "mcd", {32}, false},
    {"and stays one", FO_MOVE, {32, 5, 32}, "mcccd", {32, 5, 32}, false},
    {"only the first answer counts", FO_MOVE, {5, 32}, "mmm", {5, 32}, false},
    {"the source may stay", FO_MOVE, sourceHeld, "mcdddddd", {32}, true},
    {"six moves", FO_MOVE, sixDiffer, "mmmmmm", sixDiffer, true},
    {"six with a copy", FO_MOVE, six32, "mccccc", six32, true},
    {"a copy keeps the source", FO_COPY, {32}, "cc", {32}, true},
};

std::wstring ShellLines(const std::vector<int>& failures) {
    std::wstring lines;
    for (std::size_t call = 0; call < failures.size(); ++call) {
        if (call == 0 && failures[call] == 32) {
            lines += Warn(L"SHMoveCopyObject: error, trying copy: ", 32);
        }
        lines += call < 5 ? Warn(L"SHMoveCopyObject: error, trying again: ", failures[call])
                          : Error(L"SHMoveCopyObject: ", failures[call]);
    }
    return lines;
}

}  // namespace

TEST(PlainOperation, TriesFiveTimes) {
    for (const PlainCase& test : plainCases) {
        SCOPED_TRACE(test.name);
        Scene scene;
        MakeTree(scene / L"", L"file=new folder\\in=new other=old");
        scene.Hold(test.source, test.freedAt);
        const std::wstring word = test.run == MoveObject ? L"MoveObject" : L"CopyObject";
        const bool isDone = test.errors.size() < 5;

        EXPECT_EQ(test.run(scene / test.source, scene / test.target),
                  isDone ? 0 : test.errors.back());

        EXPECT_EQ(scene.pauses, std::vector<DWORD>(isDone ? test.errors.size() : 4, 100));
        EXPECT_EQ(ReadFileText(scene / test.target) == "new", isDone);
        EXPECT_EQ(Exists(scene / test.source), !isDone || test.run == CopyObject);
        std::wstring lines;
        for (const DWORD error : test.errors) {
            lines += Warn(word + L": error, trying again: ", error);
        }
        EXPECT_EQ(scene.log.Lines(), lines + (isDone ? Info(word + L": Done") : L""));
    }
}

TEST(PlainOperation, OnlyTheFirstMoveCrossesVolumes) {
    const Scene scene;
    std::vector<DWORD> given;
    const auto move = Replace("kernel32.dll", "MoveFileExW", MoveFileExW,
                              [&](auto, LPCWSTR, LPCWSTR, DWORD flags) {
                                  given.push_back(flags);
                                  SetLastError(ERROR_GEN_FAILURE);
                                  return FALSE;
                              });
    EXPECT_EQ(MoveObject(L"a", L"b"), DWORD{ERROR_GEN_FAILURE});
    const std::vector<DWORD> expected = {3, 0, 0, 0, 0};
    EXPECT_EQ(given, expected);
}

// The target's parent is missing: the plain attempts fail, the Shell makes it.
TEST(SHMoveCopyObject, FallsBackOnTheShell) {
    for (const ShellCase& test : shellCases) {
        SCOPED_TRACE(test.name);
        Scene scene(test.answers);
        const std::wstring from = scene / L"from", to = scene / L"a\\b\\to";
        WriteFileText(from, "x");
        const bool isMove = test.operation == FO_MOVE;
        const bool isDone = test.failures.size() < 6;
        SetLastError(0);

        const int result = isMove ? SHMoveObject(from, to, false) : SHCopyObject(from, to, false);

        EXPECT_TRUE(isDone || static_cast<int>(GetLastError()) == test.failures.back());
        EXPECT_EQ(result, isDone ? 0 : -1);
        EXPECT_EQ(scene.shell, test.shell);
        EXPECT_EQ(scene.from, from);
        EXPECT_EQ(ReadFileText(to), isDone ? "x" : "<missing>");
        EXPECT_EQ(Exists(from), test.isSourceLeft);
        const std::wstring plain = isMove ? L"MoveObject" : L"CopyObject";
        const std::wstring start =
            Info(L"SH" + plain) + Info(L"SHMoveCopyObject: [" + from + L"] to [" + to + L"]") +
            Repeat(5, Warn(plain + L": error, trying again: ", 3)) + ShellLines(test.failures);
        EXPECT_EQ(scene.log.Lines().substr(0, start.size()), start);
        EXPECT_EQ(scene.log.Has(L"INFO FSUtils SHMoveCopyObject: Done\n"), isDone);
        if (!isDone) {
            EXPECT_EQ(scene.pauses, std::vector<DWORD>(4 + 5, 100));
        }
    }
}

TEST(SHMoveCopyObject, CopiedFolderReplacesTheTarget) {
    const Scene scene;
    MakeTree(scene / L"", L"from\\a=new from\\sub\\b=new to\\old=old");
    EXPECT_EQ(SHCopyObject(scene / L"from", scene / L"to", false), 0);
    EXPECT_EQ(scene.shell, "dc");
    EXPECT_EQ(ReadTree(scene / L""), L"from\\a=new from\\sub\\b=new to\\a=new to\\sub\\b=new");
}
