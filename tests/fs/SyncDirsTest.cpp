#include "fs/SyncDirs.h"

#include <bit>

#include "fs/Scene.h"

TEST(SyncDirs, MakesTheContentEqual) {
    const std::wstring level8 = L"2\\3\\4\\5\\6\\7\\8\\", level9 = level8 + L"9\\";
    const struct {
        std::wstring source, destination;
        /// The source's content when empty.
        std::wstring result = L"";
        /// "to\b" is held for those with a pause.
        std::string events = "";
        /// The search that fails, of "to", "to\\b", "from", "from\\b".
        int unread = 0;
    } rows[] = {
        {L"a=1 none\\= sub\\b=2", L""},
        // What is too much goes, of another size, folder over file and file over folder.
        {L"a=1 sub\\b=new", L"a=1 c=3 more\\deep\\e=5 sub\\b=o sub\\d=4"},
        {L"x\\a=1 y\\= z=file", L"x=f y=f z\\a\\b=1"},
        // No source, unlike an empty one; names that differ in case; eight levels.
        {L"", L"a=1 sub\\b=2", L"a=1 sub\\b=2"},
        {L"Bin\\A=new README.txt=new \u00c4=new", L"bin\\a=o Readme.TXT=o \u00e4=o",
         L"bin\\a=new Readme.TXT=new \u00e4=new"},
        {level9 + L"a=new " + level8 + L"a=new " + level8 + L"known\\a=new",
         level8 + L"known\\old=o " + level8 + L"unknown\\deep\\old=o",
         level9 + L"= " + level8 + L"a=new " + level8 + L"known\\old=o"},
        // Asked about what is in the way, not about what is too much.
        {L"a=new b\\in=new c=new", L"a=o b=o z=o", L"a=new b=o z=o", "d.d.d.d.d.d?2"},
        {L"a=new", L"a=o b=o z=o", L"a=new b=o", "d.d.d.d.d.dd"},
        // A link is followed in the source and goes in the destination, what it points at stays.
        {L"link\\a=new", L"link\\a=o link\\b=o link\\c=o", L"", "d"},
        {L"a=new b\\in=new c=new", L"a=o b\\in=o", L"a=o b\\in=o", "", 2},
        {L"a=new b\\in=new c=new", L"a=o b\\in=o", L"a=new b\\in=o", "", 4},
    };
    for (const auto& [source, destination, result, events, unread] : rows) {
        SCOPED_TRACE(destination.c_str());
        Scene scene(events);
        MakeTree(scene / L"from", source);
        MakeTree(scene / L"to", destination);
        if (events.find('.') != events.npos)
            scene.held = std::make_unique<HeldOpen>(scene / L"to\\b");
        int searches = 0;
        const auto find = Replace(FindFirstFileW, [&, unread = unread](auto real, auto... given) {
            return ++searches == unread ? INVALID_HANDLE_VALUE : real(given...);
        });
        const bool fails = unread != 0 || events.find('?') != events.npos;
        EXPECT_EQ(SyncDirs(scene / L"from", scene / L"to", !events.empty()), fails ? -1 : 0);
        EXPECT_TRUE(events.empty() || scene.events == events) << scene.events;
        scene.held.reset();
        EXPECT_EQ(ReadTree(scene / L"to"), result.empty() ? source : result);
        const LogCapture again;
        SyncDirs(scene / L"from", scene / L"to", false);
        EXPECT_TRUE(fails || !events.empty() || !again.Has(L"SHCopyObject\n"));
    }
}

TEST(FSObject, DiffersInItsTimeFromOneSecondOn) {
    constexpr long long second = 10'000'000, hour = 3600 * second, day = 24 * hour;
    const auto at = [](long long offset) {
        WIN32_FIND_DATAW entry{};
        // From noon of the first of January 2026.
        entry.ftLastWriteTime = std::bit_cast<FILETIME>(134117424000000000 + offset);
        return FSObject(L"a", entry);
    };
    // The last two: the same day of another month, of another year.
    for (const long long offset :
         {0LL, second - 1, second, -1LL, 60 * second, hour, day, 31 * day, 365 * day})
        EXPECT_EQ(at(0).Differs(at(offset)), offset < 0 || offset >= second) << offset;
}
