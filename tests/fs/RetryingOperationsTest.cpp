#include "fs/RetryingOperations.h"

#include <stdlib.h>

#include <iterator>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "support/FailingCall.h"

namespace {

using Operation = int (*)(const std::wstring& from, const std::wstring& to, bool asks);

const Operation shRemove = [](auto& path, auto&, bool asks) { return SHRemoveObject(path, asks); };
const Operation shRename = [](auto& from, auto& to, bool) { return SHRenameObject(from, to); };
const Operation plainMove = [](auto& from, auto& to, bool) -> int { return MoveObject(from, to); };
const Operation plainCopy = [](auto& from, auto& to, bool) -> int { return CopyObject(from, to); };

// "from" goes to "to" while a file is open.
struct HeldCase {
    const char* name;
    Operation run;
    const wchar_t *before, *held;
    /// The pause at which it is freed.
    int pause;
    /// Answered by Retry. The last one frees the file, or cannot be shown when the case has an
    /// error.
    int questions;
    int error;
    const char* events;
    const wchar_t *after, *log;
};

constexpr int never = Scene::never;

const HeldCase heldCases[] = {
    {"move until the last attempt", plainMove, L"from=new", L"from", 4, 0, 0, "....", L"to=new",
     L"4*WARN MoveObject: error, trying again: #32|MoveObject: Done|"},
    {"only the first move replaces", plainMove, L"from=new to=old", L"from", 1, 0, 183, "....",
     L"from=new to=old",
     L"WARN MoveObject: error, trying again: #32|4*WARN MoveObject: error, trying again: #183|"},
    {"the last copy replaces", plainCopy, L"from=new to=old", L"from", 4, 0, 0, "....",
     L"from=new to=new", L"4*WARN CopyObject: error, trying again: #32|CopyObject: Done|"},
    {"copy of a folder", plainCopy, L"from\\a=new", L"", 0, 0, 5, "....", L"from\\a=new",
     L"5*WARN CopyObject: error, trying again: #5|"},
    {"delete at the sixth attempt", shRemove, L"from=new", L"from", 5, 0, 0, "d.d.d.d.d.d", L"",
     L"5*WARN SHRemoveObject: error, trying again: #32|SHRemoveObject: Done|"},
    {"Retry starts a full pass", shRemove, L"from=new", L"from", never, 2, 0,
     "d.d.d.d.d.d?d.d.d.d.d.d?d", L"", L""},
    {"a box that cannot be shown", shRemove, L"from=new", L"from", never, 1, 32, "d.d.d.d.d.d?",
     L"from=new", L"again: #32|ShowErrorDialog|ERROR SHRemoveObject: #32|"},
    {"rename to a held file", shRename, L"from=new to=old", L"to", never, 0, 32, "d.d.d.d.d.d",
     L"from=new to=old",
     L"ERROR SHRemoveObject: #32|ERROR SHRenameObject: error of SHRemoveObject|"},
    {"copy to a held file asks once", SHCopyObject, L"from=new to=old", L"to", never, 1, 32,
     "....d.d.d.d.d.d?", L"from=new to=old",
     L"ERROR SHRemoveObject: #32|ERROR SHMoveCopyObject: error of SHRemoveObject|"},
    {"rename replaces a folder", shRename, L"from\\a=new to\\b=old", L"", 0, 0, 0, "d",
     L"to\\a=new",
     L"SHRenameObject: [from] to [to]|SHRemoveObject: to|SHRemoveObject: Done|MoveObject: Done|"},
    {"copy replaces a folder", SHCopyObject, L"from\\a\\b=new to\\old=old", L"", 0, 0, 0, "....dc",
     L"from\\a\\b=new to\\a\\b=new", L""},
    {"nothing to delete", shRemove, L"to=old", L"", 0, 0, 0, "", L"to=old",
     L"SHRemoveObject: from|SHRemoveObject: Done: file or folder not exists!|"},
    {"nothing to move", SHMoveObject, L"to=old", L"", 0, 0, 0, "", L"to=old",
     L"SHMoveObject|SHMoveCopyObject: [from] to [to]|SHMoveCopyObject: Done|"},
    {"nothing to copy", SHCopyObject, L"to=old", L"", 0, 0, 0, "", L"to=old",
     L"SHCopyObject|SHMoveCopyObject: [from] to [to]|SHMoveCopyObject: Done|"},
    {"nothing to rename", shRename, L"to=old", L"", 0, 0, 0, "", L"to=old",
     L"SHRenameObject: [from] to [to]|SHRenameObject: Done|"},
};

// The target's parent is missing: the plain attempts fail, the Shell makes it.
struct ShellCase {
    const char* name;
    Operation run;
    /// Of the Shell, and questions answered by Retry.
    const wchar_t* answers;
    int questions;
    int error;
    const char* events;
    const wchar_t *after, *log;
};

const ShellCase shellCases[] = {
    {"rename", shRename, L"", 0, 0, "....m", L"a\\to=new", L"SHRenameObject: Done|"},
    {"rename tries once", shRename, L"32", 0, 32, "....m", L"from=new",
     L"[from] to [a\\to]|5*WARN MoveObject: error, trying again: #3|ERROR SHRenameObject: #32|"},
    {"a held move goes on as a copy, and stays one", SHMoveObject, L"32 5 32", 0, 0, "....m.c.c.cd",
     L"a\\to=new",
     L"SHMoveObject|SHMoveCopyObject: [from] to [a\\to]|"
     L"5*WARN MoveObject: error, trying again: #3|"
     L"WARN SHMoveCopyObject: error, trying copy: #32|"
     L"WARN SHMoveCopyObject: error, trying again: #32|"
     L"WARN SHMoveCopyObject: error, trying again: #5|"
     L"WARN SHMoveCopyObject: error, trying again: #32|SHRemoveObject: from|"
     L"SHRemoveObject: Done|SHMoveCopyObject: Done|"},
    {"only the first answer counts", SHMoveObject, L"5 32", 0, 0, "....m.m.m", L"a\\to=new", L""},
    {"the source may stay", SHMoveObject, L"32 -1 32 32 32 32 32 32", 0, 0, "....m.cd.d.d.d.d.d",
     L"a\\to=new from=new", L""},
    {"move fails", SHMoveObject, L"2 2 2 2 2 3", 0, 3, "....m.m.m.m.m.m", L"from=new",
     L"5*WARN SHMoveCopyObject: error, trying again: #2|ERROR SHMoveCopyObject: #3|"},
    {"after Retry a move is a move again", SHMoveObject, L"32 5 5 5 5 5 5", 1, 0,
     "....m.c.c.c.c.c?....m.m", L"a\\to=new",
     L"|ShowErrorDialog|5*WARN MoveObject: error, trying again: #3|"
     L"WARN SHMoveCopyObject: error, trying again: #5|SHMoveCopyObject: Done|"},
    {"a copy keeps the source", SHCopyObject, L"2", 0, 0, "....c.c", L"a\\to=new from=new", L""},
};

template <typename Case>
void Expect(const Case& test, Scene& scene, const std::wstring& to) {
    SetLastError(0);
    const int result = test.run(scene / L"from", scene / to, test.questions > 0);
    const int error = static_cast<int>(GetLastError());
    scene.held.reset();
    const bool isPlain = test.run == plainMove || test.run == plainCopy;
    EXPECT_EQ(result, isPlain ? test.error : test.error == 0 ? 0 : -1);
    EXPECT_TRUE(isPlain || test.error == 0 || error == test.error) << error;
    EXPECT_EQ(scene.events, test.events);
    EXPECT_EQ(ReadTree(scene.folder.path), test.after);
    EXPECT_TRUE(scene.Log().ends_with(test.log)) << scene.Log().c_str();
}

}  // namespace

TEST(RetryingOperation, TriesWhileAFileIsHeld) {
    for (const HeldCase& test : heldCases) {
        SCOPED_TRACE(test.name);
        std::vector<int> answers(test.questions, IDRETRY);
        if (test.error != 0 && !answers.empty()) {
            answers.back() = 0;
        }
        Scene scene({}, answers);
        MakeTree(scene.folder.path, test.before);
        scene.Hold(test.held, test.pause, test.error == 0 ? test.questions : never);
        Expect(test, scene, L"to");
    }
}

TEST(RetryingOperation, FallsBackOnTheShell) {
    for (const ShellCase& test : shellCases) {
        SCOPED_TRACE(test.name);
        std::wistringstream text(test.answers);
        const std::vector<int> shell((std::istream_iterator<int, wchar_t>(text)), {});
        Scene scene(shell, std::vector<int>(test.questions, IDRETRY));
        MakeTree(scene.folder.path, L"from=new");
        Expect(test, scene, L"a\\to");
    }
}

TEST(SHRemoveObject, TakesFilesByAWildcardAndLeavesFolders) {
    const Scene scene;
    MakeTree(scene.folder.path, L"a.tmp= b.tmp= c.txt= d.tmp\\e=");
    EXPECT_EQ(SHRemoveObject(scene / L"*.tmp", false), 0);
    EXPECT_EQ(ReadTree(scene.folder.path), L"c.txt= d.tmp\\e=");
}

TEST(MoveObject, CrossesVolumesAtTheFirstAttempt) {
    const Scene scene;
    std::vector<DWORD> given;
    const auto move = Replace("kernel32.dll", "MoveFileExW", MoveFileExW,
                              [&](auto, LPCWSTR, LPCWSTR, DWORD flags) {
                                  given.push_back(flags);
                                  return FALSE;
                              });
    MoveObject(L"a", L"b");
    EXPECT_EQ(given, (std::vector<DWORD>{3, 0, 0, 0, 0}));
}

TEST(ErrorReport, IsStartedByTheFirstQuestionAndGetsTheArguments) {
    for (int round = 0; round < 2; ++round) {
        Scene scene({2, 2, 2, 2, 2, 2}, {IDCANCEL});
        WriteFileText(scene / L"file", "");
        EXPECT_EQ(SHRemoveObject(scene / L"file", true), -1);
    }
    EXPECT_EQ(Scene::startedEver, 1);

    const Scene scene;
    wchar_t ownPath[MAX_PATH];
    GetModuleFileNameW(nullptr, ownPath, MAX_PATH);
    wchar_t program[] = L"setup.exe", first[] = L"a b", second[] = L"q\"q", third[] = L"";
    wchar_t* arguments[] = {program, first, second, third, nullptr};
    const int ownCount = std::exchange(__argc, 4);
    wchar_t** const ownArguments = std::exchange(__wargv, arguments);
    RequestErrorReport();
    __argc = ownCount;
    __wargv = ownArguments;
    const FailingCall noPath("kernel32.dll", "GetModuleFileNameW", &GetModuleFileNameW, 0);
    RequestErrorReport();
    EXPECT_EQ(scene.started, std::vector{L"\"" + std::wstring(ownPath) +
                                         L"\" --generate-report \"a b\" \"q\"q\" \"\""});
    // Nobody was asked about this one.
    --Scene::startedEver;
}
