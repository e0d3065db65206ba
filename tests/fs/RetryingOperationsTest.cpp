#include "fs/RetryingOperations.h"

#include "fs/Scene.h"

namespace {

using Operation = int (*)(const std::wstring& from, const std::wstring& to, bool asks);

constexpr Operation Remove = [](auto& path, auto&, bool asks) {
    return SHRemoveObject(path, asks);
};
constexpr Operation Rename = [](auto& from, auto& to, bool) { return SHRenameObject(from, to); };

// These give the error themselves.
template <auto attempt>
int Plain(const std::wstring& from, const std::wstring& to, bool) {
    SetLastError(attempt(from, to));
    return GetLastError() == 0 ? 0 : -1;
}

// The parent of the target is missing: the plain attempts fail, the Shell makes it.
template <Operation run>
int Deep(const std::wstring& from, const std::wstring& to, bool asks) {
    return run(from, to + L"\\a", asks);
}

// "from" goes to "to".
struct Row {
    Operation run;
    const wchar_t *before, *held;
    /// And the error at the end: "....m32#32".
    std::string script;
    const wchar_t* after;
    int warnings;
};

const Row rows[] = {
    {Plain<MoveObject>, L"from=new", L"from", "....!", L"to=new", 4},
    {Plain<MoveObject>, L"from=new to=old", L"from", ".!...#183", L"from=new to=old", 5},
    {Plain<MoveObject>, L"from=new to=old", L"", "", L"to=new", 0},
    {Plain<CopyObject>, L"from=new to=old", L"from", "....!", L"from=new to=new", 4},
    {Remove, L"from=new", L"from", "d.d.d.d.d.!d", L"", 5},
    {Remove, L"from=new", L"", "d1223.d", L"", 1},
    {Remove, L"from=new", L"from", "d.d.d.d.d.d?d.d.d.d.d.d?!d", L"", 10},
    {Remove, L"from=new", L"from", "d.d.d.d.d.d?0#32", L"from=new", 5},
    {[](auto& from, auto&, bool) { return SHRemoveObject(from + L"*.tmp", false); },
     L"from1.tmp= from2.txt= from3.tmp\\e=", L"", "d", L"from2.txt= from3.tmp\\e=", 0},
    {Rename, L"from=new to=old", L"to", "d.d.d.d.d.d#32", L"from=new to=old", 5},
    {Rename, L"from\\a=new to\\b=old", L"", "d", L"to\\a=new", 0},
    {Rename, L"to=new", L"", "", L"to=new", 0},
    {SHMoveObject, L"to=new", L"", "", L"to=new", 0},
    {SHCopyObject, L"from=new to=old", L"to", "....d.d.d.d.d.d?2#32", L"from=new to=old", 10},
    {SHCopyObject, L"from\\a\\b=new to\\old=old", L"", "....dc", L"from\\a\\b=new to\\a\\b=new", 5},
    {Deep<Rename>, L"from=new", L"", "....m", L"to\\a=new", 5},
    {Deep<Rename>, L"from=new", L"", "....m32#32", L"from=new", 5},
    {Deep<SHMoveObject>, L"from=new", L"", "....m32.c5.c32.cd", L"to\\a=new", 9},
    {Deep<SHMoveObject>, L"from=new", L"", "....m5.m32.m", L"to\\a=new", 7},
    {Deep<SHMoveObject>, L"from=new", L"", "....m2.m2.m2.m2.m2.m3#3", L"from=new", 10},
    {Deep<SHMoveObject>, L"from=new", L"", "....m32.c5.c5.c5.c5.c5?....m5.m", L"to\\a=new", 17},
    {Deep<SHMoveObject>, L"from=new", L"", "....m0.m0.m0.m0.m0.m0#1223", L"from=new", 10},
    // The Shell stopped half way, with a folder to merge and with nothing but the folder left.
    {Deep<SHMoveObject>, L"from\\a= from\\b\\c=", L"", "....m112.md", L"to\\a\\a= to\\a\\b\\c=", 6},
    {Deep<SHMoveObject>, L"from\\a=", L"", "....m112.d", L"to\\a\\a=", 6},
    {Deep<SHMoveObject>, L"from\\a=1 from\\b=2", L"", "....m112.m5.m5.m5.m5.m5?....md",
     L"to\\a\\a=1 to\\a\\b=2", 15},
    {Deep<SHMoveObject>, L"from\\a=1 from\\b=2", L"", "....m112.m5.m5.m5.m5.m5?2m#5",
     L"from\\a=1 from\\b=2 to\\a\\=", 10},
};

}  // namespace

TEST(RetryingOperation, TriesAgain) {
    for (const auto& [run, before, held, script, after, warnings] : rows) {
        SCOPED_TRACE(script);
        Scene scene(script);
        MakeTree(scene.path, before);
        scene.held = *held == L'\0' ? nullptr : std::make_unique<HeldOpen>(scene / held);
        if (run(scene / L"from", scene / L"to", script.find('?') != script.npos) != 0)
            scene.events += "#" + std::to_string(GetLastError());
        scene.held.reset();
        EXPECT_EQ(scene.events, script);
        EXPECT_EQ(ReadTree(scene.path), after);
        EXPECT_EQ(scene.log.Count(L"WARN FSUtils "), warnings);
    }
    EXPECT_EQ(Scene::reports, 1) << "one for the first question";
}
