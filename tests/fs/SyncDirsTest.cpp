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

// Noon of a fixed day plus the offset.
void SetWriteTime(const std::wstring& path, long long milliseconds) {
    SYSTEMTIME noon{};
    noon.wYear = 2026;
    noon.wMonth = noon.wDay = 1;
    noon.wHour = 12;
    FILETIME time;
    SystemTimeToFileTime(&noon, &time);
    ULARGE_INTEGER ticks = {{time.dwLowDateTime, time.dwHighDateTime}};
    ticks.QuadPart += milliseconds * 10000;
    time = {ticks.LowPart, ticks.HighPart};
    const HANDLE file =
        CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
    CloseHandle(file);
}

int Sync(const Scene& scene, bool asks = false) {
    return SyncDirs(scene / L"from", scene / L"to", asks);
}

std::wstring StartLine(const Scene& scene) {
    return Info(L"SyncDirs: [" + (scene / L"from") + L"] to [" + (scene / L"to") + L"]");
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

        const LogCapture log;
        EXPECT_EQ(Sync(scene), 0);
        EXPECT_EQ(log.Lines(), StartLine(scene) + Info(L"SyncDirs: Start RecursiveSearch") +
                                   Info(L"SyncDirs: Start RecursiveSync") +
                                   Info(L"SyncDirs: Done"));
    }
}

TEST(SyncDirs, EmptyDiffersFromMissing) {
    const Scene scene;
    MakeTree(scene / L"to", L"a=1 sub\\b=2");
    EXPECT_EQ(Sync(scene, true), 0);
    EXPECT_EQ(ReadTree(scene / L"to"), L"a=1 sub\\b=2");
    EXPECT_EQ(scene.log.Lines(), StartLine(scene) + Info(L"SyncDirs: Done"));

    CreateDirectoryW((scene / L"from").c_str(), nullptr);
    EXPECT_EQ(Sync(scene), 0);
    EXPECT_EQ(ReadTree(scene / L""), L"from\\= to\\=");
}

TEST(SyncDirs, ComparesTimesToTheSecond) {
    constexpr long long hour = 3600 * 1000;
    constexpr long long day = 24 * hour;
    // The last two: the same day of another month, of another year.
    for (const long long offset :
         {0LL, 999LL, 1000LL, -1LL, 60 * 1000LL, hour, day, 31 * day, 365 * day}) {
        SCOPED_TRACE(offset);
        const bool isCopied = offset < 0 || offset >= 1000;
        const Scene scene;
        MakeTree(scene / L"", L"from\\a=new to\\a=old");
        SetWriteTime(scene / L"from\\a", 0);
        SetWriteTime(scene / L"to\\a", offset);
        EXPECT_EQ(Sync(scene), 0);
        EXPECT_EQ(ReadFileText(scene / L"to\\a"), isCopied ? "new" : "old");
    }
    WIN32_FIND_DATAW record{};
    const FSObject empty(L"a", record);
    record.nFileSizeHigh = 1;
    EXPECT_TRUE(empty.Differs(FSObject(L"a", record)));
}

TEST(SyncDirs, FailureKeepsWhatWasDone) {
    // With a folder instead of the file, what is in its way has to go first.
    for (const wchar_t* blocked : {L"b", L"b\\in"}) {
        for (const bool asks : {false, true}) {
            SCOPED_TRACE(testing::Message() << blocked << asks);
            Scene scene({}, std::vector<int>(asks ? 1 : 0, IDCANCEL));
            MakeTree(scene / L"from", std::wstring(L"a=new c=new ") + blocked + L"=new");
            MakeTree(scene / L"to", L"a=o b=o z=o");
            scene.Hold(L"to\\b", Scene::never);
            EXPECT_EQ(Sync(scene, asks), -1);
            scene.held.reset();
            EXPECT_EQ(ReadTree(scene / L"to"), L"a=new b=o z=o");
            EXPECT_FALSE(scene.log.Has(L"SyncDirs: Done"));
        }
    }
}

TEST(SyncDirs, NeverAsksAboutWhatIsTooMuch) {
    Scene scene;
    MakeTree(scene / L"", L"from\\k=1 to\\a=1 to\\b=1 to\\z=1");
    scene.Hold(L"to\\b", Scene::never);
    EXPECT_EQ(Sync(scene, true), 0);
    scene.held.reset();
    EXPECT_EQ(ReadTree(scene / L"to"), L"b=1 k=1");
}

TEST(SyncDirs, ReplacesALinkAndDoesNotEnterIt) {
    const Scene scene;
    MakeTree(scene / L"", L"from\\link\\a=new to\\link\\a=o to\\link\\b=o");
    const auto link = FakeLink(L"link", IO_REPARSE_TAG_MOUNT_POINT);
    EXPECT_EQ(Sync(scene), 0);
    EXPECT_EQ(scene.shell, "d");
    EXPECT_EQ(scene.from, scene / L"to\\link");
    EXPECT_EQ(ReadTree(scene / L"to"), L"link\\a=new");
}

TEST(SyncDirs, DestinationThatIsAFileStops) {
    const Scene scene;
    MakeTree(scene / L"", L"from\\a=new to=old");
    EXPECT_EQ(Sync(scene), -1);
    EXPECT_EQ(ReadFileText(scene / L"to"), "old");
    EXPECT_TRUE(scene.log.Has(Error(L"RecursiveSearch: error of FindFirstFile: ", 267)));
}

TEST(SyncDirs, UnreadableFolderStops) {
    for (const wchar_t* unreadable : {L"to\\b", L"from\\b"}) {
        const bool isSource = unreadable[0] == L'f';
        const Scene scene;
        MakeTree(scene / L"from", L"a=new b\\in=new c=new");
        MakeTree(scene / L"to", L"a=o b\\in=o");
        const auto refuse = [&](auto real, LPCWSTR pattern, WIN32_FIND_DATAW* entry) {
            if (pattern != (scene / unreadable) + L"\\*") {
                return real(pattern, entry);
            }
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        };
        auto find = Replace("kernel32.dll", "FindFirstFileW", FindFirstFileW, refuse);
        EXPECT_EQ(Sync(scene), -1);
        find.reset();
        EXPECT_EQ(ReadTree(scene / L"to"), isSource ? L"a=new b\\in=o" : L"a=o b\\in=o");
        EXPECT_TRUE(scene.log.Has(Error(isSource ? L"RecursiveSync: error of FindFirstFile: "
                                                 : L"RecursiveSearch: error of FindFirstFile: ",
                                        ERROR_ACCESS_DENIED)));
    }
}
