#include "EntryNames.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

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
