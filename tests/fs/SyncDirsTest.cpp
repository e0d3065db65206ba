#include "fs/SyncDirs.h"

#include <gtest/gtest.h>

#include "fs/Scene.h"

namespace {

// "2\3\4\" leads to the folder on level 4.
std::wstring DownTo(int level) {
    return level == 1 ? L"" : DownTo(level - 1) + std::to_wstring(level) + L"\\";
}

struct TreeCase {
    const char* name;
    std::wstring source;
    std::wstring destination;
    /// What the destination holds then; the source's content when empty.
    std::wstring expected;
};

const TreeCase treeCases[] = {
    {"destination missing", L"a=1 none\\= sub\\b=2", L"", L""},
    {"what is too much goes", L"a=1 sub\\b=2", L"a=1 c=3 more\\deep\\e=5 sub\\d=4", L""},
    {"another size", L"a=new sub\\b=new", L"a=o sub\\b=o", L""},
    {"folder over file", L"x\\a=1 y\\=", L"x=f y=f", L""},
    {"file over folder", L"x=file", L"x\\a\\b=1", L""},
    {"names that differ in case", L"Bin\\A=new README.txt=new \u00c4=new",
     L"bin\\a=o Readme.TXT=o \u00e4=o", L"bin\\a=new Readme.TXT=new \u00e4=new"},
    {"eight levels", DownTo(9) + L"a=new " + DownTo(8) + L"a=new " + DownTo(8) + L"known\\a=new",
     DownTo(8) + L"known\\old=o " + DownTo(8) + L"unknown\\deep\\old=o",
     DownTo(9) + L"= " + DownTo(8) + L"a=new " + DownTo(8) + L"known\\old=o"},
};

void SetWriteTime(const std::wstring& path, long long milliseconds) {
    // Noon of the first of January 2026.
    const ULARGE_INTEGER ticks = {.QuadPart = 134117424000000000ULL +
                                              static_cast<ULONGLONG>(milliseconds * 10000)};
    const FILETIME time = {ticks.LowPart, ticks.HighPart};
    const HANDLE file =
        CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
    CloseHandle(file);
}

int Sync(const Scene& scene, bool asks = false) {
    return SyncDirs(scene / L"from", scene / L"to", asks);
}

}  // namespace

TEST(SyncDirs, MakesTheContentEqualAndThenRests) {
    for (const TreeCase& test : treeCases) {
        SCOPED_TRACE(test.name);
        const Scene scene;
        MakeTree(scene / L"from", test.source);
        MakeTree(scene / L"to", test.destination);
        EXPECT_EQ(Sync(scene), 0);
        EXPECT_EQ(ReadTree(scene / L"to"), test.expected.empty() ? test.source : test.expected);
        EXPECT_EQ(Sync(scene), 0);
        EXPECT_TRUE(scene.Log().ends_with(
            L"|SyncDirs: Done|SyncDirs: [from] to [to]|SyncDirs: Start RecursiveSearch|"
            L"SyncDirs: Start RecursiveSync|SyncDirs: Done|"));
    }
}

TEST(SyncDirs, EmptyDiffersFromMissing) {
    const Scene scene;
    MakeTree(scene.folder.path, L"to\\a=1 to\\sub\\b=2");
    EXPECT_EQ(Sync(scene, true), 0);
    EXPECT_EQ(ReadTree(scene.folder.path), L"to\\a=1 to\\sub\\b=2");
    EXPECT_EQ(scene.Log(), L"SyncDirs: [from] to [to]|SyncDirs: Done|");
    CreateDirectoryW((scene / L"from").c_str(), nullptr);
    EXPECT_EQ(Sync(scene), 0);
    EXPECT_EQ(ReadTree(scene.folder.path), L"from\\= to\\=");
}

TEST(SyncDirs, ComparesTimesToTheSecond) {
    constexpr long long hour = 3600 * 1000, day = 24 * hour;
    // The last two: the same day of another month, of another year.
    for (const long long offset :
         {0LL, 999LL, 1000LL, -1LL, 60 * 1000LL, hour, day, 31 * day, 365 * day}) {
        const bool isCopied = offset < 0 || offset >= 1000;
        const Scene scene;
        MakeTree(scene.folder.path, L"from\\a=new to\\a=old");
        SetWriteTime(scene / L"from\\a", 0);
        SetWriteTime(scene / L"to\\a", offset);
        EXPECT_EQ(Sync(scene), 0);
        EXPECT_EQ(ReadFileText(scene / L"to\\a"), isCopied ? "new" : "old") << offset;
    }
}

TEST(SyncDirs, FailureKeepsWhatWasDone) {
    Scene scene({}, {IDCANCEL});
    // What is in the folder's way has to go first.
    MakeTree(scene.folder.path, L"from\\a=new from\\b\\in=new from\\c=new to\\a=o to\\b=o to\\z=o");
    scene.Hold(L"to\\b", Scene::never);
    EXPECT_EQ(Sync(scene, true), -1);
    scene.held.reset();
    EXPECT_EQ(ReadTree(scene / L"to"), L"a=new b=o z=o");
    EXPECT_FALSE(scene.log.Has(L"SyncDirs: Done"));
}

TEST(SyncDirs, NeverAsksAboutWhatIsTooMuch) {
    Scene scene;
    MakeTree(scene.folder.path, L"from\\k=1 to\\a=1 to\\b=1 to\\z=1");
    scene.Hold(L"to\\b", Scene::never);
    EXPECT_EQ(Sync(scene, true), 0);
    scene.held.reset();
    EXPECT_EQ(ReadTree(scene / L"to"), L"b=1 k=1");
}

TEST(SyncDirs, ReplacesALinkAndDoesNotEnterIt) {
    const Scene scene;
    MakeTree(scene.folder.path, L"from\\link\\a=new to\\link\\a=o to\\link\\b=o");
    const auto link = FakeLink(L"link", IO_REPARSE_TAG_MOUNT_POINT);
    EXPECT_EQ(Sync(scene), 0);
    EXPECT_EQ(scene.events, "d");
    EXPECT_TRUE(scene.Log().find(L"|SHRemoveObject: to\\link|") != std::wstring::npos);
    EXPECT_EQ(ReadTree(scene / L"to"), L"link\\a=new");
}

TEST(SyncDirs, UnreadableFolderStops) {
    const struct {
        // Of the calls, in the order "to", "to\\b", "from", "from\\b".
        int failing;
        const wchar_t *left, *error;
    } cases[] = {
        {2, L"a=o b\\in=o", L"|ERROR RecursiveSearch: error of FindFirstFile: #5|"},
        {4, L"a=new b\\in=o", L"|ERROR RecursiveSync: error of FindFirstFile: #5|"},
    };
    for (const auto& test : cases) {
        const Scene scene;
        MakeTree(scene / L"from", L"a=new b\\in=new c=new");
        MakeTree(scene / L"to", L"a=o b\\in=o");
        int calls = 0;
        auto find = Replace(
            "kernel32.dll", "FindFirstFileW", FindFirstFileW, [&](auto real, auto... given) {
                SetLastError(ERROR_ACCESS_DENIED);
                return ++calls == test.failing ? INVALID_HANDLE_VALUE : real(given...);
            });
        EXPECT_EQ(Sync(scene), -1);
        find.reset();
        EXPECT_EQ(ReadTree(scene / L"to"), test.left);
        EXPECT_TRUE(scene.Log().ends_with(test.error));
    }
}
