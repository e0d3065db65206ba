#include "ZipReader.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "EntryNames.h"
#include "ZipBuilder.h"

namespace {

using Contents = std::map<std::u16string, std::string>;

// Reads the whole archive as the unpacker does; the contents are complete only after ok.
ZipResult ReadAll(const std::string& archive, Contents& contents) {
    contents.clear();
    std::vector<ZipEntry> entries;
    ZipResult result = ReadEntries(
        {reinterpret_cast<const std::uint8_t*>(archive.data()), archive.size()}, entries);
    for (std::size_t i = 0; i < entries.size() && result == ZipResult::ok; ++i) {
        std::string& content = contents[entries[i].path];
        result = UnpackEntry(entries[i], [&](Bytes piece) {
            content.append(piece.begin(), piece.end());
            EXPECT_LE(content.size(), entries[i].size);
            return true;
        });
    }
    return result;
}

const std::string text(5000, 'x');
const std::vector<ZipPart> goodParts = {{.name = "stored.txt", .content = "some text"},
                                        {.name = "sub/", .attributes = 0x41ED0010},
                                        {.name = "sub/packed", .content = text, .deflate = true},
                                        {.name = "empty"}};

}  // namespace

TEST(ZipReader, RefusesArchivesThatLie) {
    const ZipPart a = {.name = "a", .content = text, .deflate = true};
    const auto with = [&](auto change) {
        ZipPart part = a;
        change(part);
        return BuildZip({part});
    };
    const auto withTail = [&](std::size_t at, std::uint32_t value) {
        return BuildZip({a}, [&](std::string& tail) { Put16(tail, at, value); });
    };
    const auto announceOne = [](std::string& tail) { Put16(tail, 8, 1), Put16(tail, 10, 1); };
    // Header and content of an entry, to stand inside another entry, whose own header has 31 bytes.
    const std::string inner = BuildZip({{.name = "b", .content = "xyz"}}).substr(0, 34);
    const std::string behind("\3\0x", 3);
    const ZipPart b = {.name = "b", .content = "xyz", .localOffset = 31};
    using enum ZipResult;
    const std::map<ZipResult, std::map<const char*, std::string>> cases = {
        {damaged,
         {{"behind the end record", BuildZip({a}) + "x"},
          {"wrong checksum", with([](auto& p) { p.crc = 1; })},
          {"size too small", with([](auto& p) { p.size = 4999; })},
          {"size too large", with([](auto& p) { p.size = 5001; })},
          {"stored with two sizes", BuildZip({{.name = "a", .content = "b", .size = 2}})},
          {"packed bytes end early", with([](auto& p) { p.packedSize = 10; })},
          {"packed bytes beyond the file", with([](auto& p) { p.packedSize = 5000; })},
          {"header outside", with([](auto& p) { p.localOffset = 70000; })},
          {"bytes behind the packed ones",
           BuildZip({{.name = "a", .content = behind, .method = 8, .size = 0, .crc = 0}})},
          {"folder with content", BuildZip({{.name = "a/", .content = "b"}})},
          {"same file twice", BuildZip({a, {.name = "A"}})},
          {"file as a folder", BuildZip({a, {.name = "a/b"}})},
          {"folder as a file", BuildZip({{.name = "a/b"}, a})},
          {"file within a file", BuildZip({{.name = "a", .content = inner}, b})},
          {"directory larger than announced", withTail(12, 10)},
          {"more entries than announced", BuildZip({a, {.name = "b"}}, announceOne)}}},
        {unsupported,
         {{"encrypted", with([](auto& p) { p.flags = 1; })},
          {"other method", with([](auto& p) { p.method = 12; })},
          {"zip64 size", with([](auto& p) { p.size = 0xFFFFFFFF; })},
          {"several disks", withTail(4, 1)},
          {"zip64 count", withTail(10, 0xFFFF)}}},
        {unsafeName,
         {{"link", with([](auto& p) { p.attributes = 0xA1FF0000; })},
          {"folder without a slash", with([](auto& p) { p.attributes = 0x10; })},
          {"pipe", with([](auto& p) { p.attributes = 0x11FF0000; })},
          {"Windows link", with([](auto& p) { p.attributes = 0x400; })},
          {"climbing name", with([](auto& p) { p.name = "../a"; })},
          {"malformed name", with([](auto& p) { p.name = "\xFF", p.flags = 0x800; })}}}};
    Contents contents;
    for (const auto& [expected, archives] : cases)
        for (const auto& [what, archive] : archives)
            EXPECT_EQ(ReadAll(archive, contents), expected) << what;
}

TEST(ZipReader, ReadsWhatIsThere) {
    const std::string noise = MakeNoise(2500000);
    std::vector<ZipPart> parts = goodParts;
    parts.push_back({.name = "big/stored", .content = noise});
    parts.push_back({.name = "big/packed", .content = noise, .deflate = true});
    parts.push_back({.name = "sizes behind", .content = text, .deflate = true, .flags = 8});
    parts.push_back({.name = "\xC3\xBC", .content = "1", .flags = 0x800});
    parts.push_back({.name = "\x81\x82", .content = "2"});
    Contents contents;
    ASSERT_EQ(ReadAll(BuildZip(parts), contents), ZipResult::ok);
    EXPECT_EQ(contents, (Contents{{u"stored.txt", "some text"},
                                  {u"sub", ""},
                                  {u"sub\\packed", text},
                                  {u"empty", ""},
                                  {u"big\\stored", noise},
                                  {u"big\\packed", noise},
                                  {u"sizes behind", text},
                                  {u"\u00FC", "1"},
                                  {u"\u00FC\u00E9", "2"}}));
    const std::string commented =
        BuildZip(goodParts, [](std::string& tail) { Put16(tail, 20, 2), tail += "PK"; });
    EXPECT_EQ(ReadAll(commented, contents), ZipResult::ok);
}

TEST(ZipReader, NeverTakesDamageForGood) {
    const std::string archive = BuildZip(goodParts);
    Contents good, contents;
    ASSERT_EQ(ReadAll(archive, good), ZipResult::ok);
    for (std::size_t length = 0; length < archive.size(); ++length)
        EXPECT_NE(ReadAll(archive.substr(0, length), contents), ZipResult::ok) << length;
    for (std::size_t at = 0; at < archive.size(); ++at)
        for (const int flip : {0x01, 0x80, 0xFF}) {
            std::string damaged = archive;
            damaged[at] = static_cast<char>(damaged[at] ^ flip);
            // Times and a few fields of no meaning may change unnoticed, names and contents not.
            if (ReadAll(damaged, contents) == ZipResult::ok) {
                EXPECT_EQ(contents, good) << at << " ^ " << flip;
            }
        }
}

TEST(EntryNames, TellsPlainNamesFromThoseThatLeaveTheFolderOrMeanSomethingElse) {
    std::u16string path;
    bool isFolder = false;
    // Each ends with a tab.
    std::u16string_view hostile =
        u"\t/\t..\t../x\t..\\x\ta/../../x\ta/..\t.\ta/./b\ta//b\t/x\t\\x\t\\\\server\\share\\x\t"
        u"C:\tC:x\tc:/x\t\\\\?\\C:\\x\ta:stream\ta/b::$DATA\tcon\taux.txt\ta/PRN\tCom1\t"
        u"lpt9.tar.gz\tcom0\tCOM\u00B9.x\tnul .txt\tconin$\tCONOUT$\ta.\ta \ta./b\ta /b\t...\t"
        u"a\nb\ta?\ta*b\ta<b\ta>b\ta|b\ta\"b\t";
    for (std::size_t end; (end = hostile.find(u'\t')) != hostile.npos;) {
        const std::u16string name(hostile.substr(0, end));
        EXPECT_FALSE(MakeRelativePath(name, path, isFolder)) << testing::PrintToString(name);
        hostile.remove_prefix(end + 1);
    }
    EXPECT_FALSE(MakeRelativePath(std::u16string(u"a\0b", 3), path, isFolder));
    EXPECT_FALSE(MakeRelativePath(std::u16string(256, u'x'), path, isFolder));

    const std::pair<std::u16string, std::u16string> plain[] = {
        {u"a/b c.txt", u"a\\b c.txt"},
        {u"a\\b/", u"a\\b"},
        {u"..a/b..c", u"..a\\b..c"},
        {u".hidden", u".hidden"},
        {u"console/com10/null", u"console\\com10\\null"},
        {std::u16string(255, u'x'), std::u16string(255, u'x')}};
    for (const auto& [name, expected] : plain) {
        EXPECT_TRUE(MakeRelativePath(name, path, isFolder));
        EXPECT_EQ(path, expected);
        EXPECT_EQ(isFolder, name.back() == u'/');
    }
}

TEST(EntryNames, DecodesBothCharacterSets) {
    std::u16string name;
    EXPECT_TRUE(DecodeEntryName("a\x81\xE1\xFF", false, name));
    EXPECT_EQ(name, u"a\u00FC\u00DF\u00A0");
    EXPECT_TRUE(DecodeEntryName("\xC3\xBC\xE2\x82\xAC\xF0\x9F\x99\x82", true, name));
    EXPECT_EQ(name, u"\u00FC\u20AC\U0001F642");
    for (const char* bytes : {"\xC0\xAE\xC0\xAE/x", "\xE0\x80\xAF", "\xED\xA0\x80",
                              "\xF4\x90\x80\x80", "a\x80", "a\xE2\x82"})
        EXPECT_FALSE(DecodeEntryName(bytes, true, name)) << bytes;
}
