#include "EntryNames.h"

#include <gtest/gtest.h>

#include <string>

TEST(EntryNames, RefusesNamesThatLeaveTheFolderOrMeanSomethingElse) {
    const std::u16string hostile[] = {u"",
                                      u"/",
                                      u"..",
                                      u"../x",
                                      u"..\\x",
                                      u"a/../../x",
                                      u"a/..",
                                      u".",
                                      u"./x",
                                      u"a/./b",
                                      u"a//b",
                                      u"/x",
                                      u"\\x",
                                      u"\\\\server\\share\\x",
                                      u"C:",
                                      u"C:x",
                                      u"C:\\x",
                                      u"c:/x",
                                      u"\\\\?\\C:\\x",
                                      u"a:stream",
                                      u"a/b::$DATA",
                                      u"con",
                                      u"NUL",
                                      u"aux.txt",
                                      u"a/PRN",
                                      u"Com1",
                                      u"lpt9.tar.gz",
                                      u"com0",
                                      u"COM\u00B9.x",
                                      u"nul .txt",
                                      u"conin$",
                                      u"CONOUT$",
                                      u"a.",
                                      u"a ",
                                      u"a./b",
                                      u"a /b",
                                      u"...",
                                      u"a\nb",
                                      std::u16string(u"a\0b", 3),
                                      u"a?",
                                      u"a*b",
                                      u"a<b",
                                      u"a>b",
                                      u"a|b",
                                      u"a\"b",
                                      std::u16string(256, u'x')};
    for (const std::u16string& name : hostile) {
        std::u16string path;
        bool isFolder = false;
        EXPECT_FALSE(MakeRelativePath(name, path, isFolder))
            << std::string(name.begin(), name.end());
    }
}

TEST(EntryNames, TakesPlainNames) {
    const struct {
        std::u16string name, path;
        bool isFolder;
    } cases[] = {{u"a", u"a", false},
                 {u"a/b c.txt", u"a\\b c.txt", false},
                 {u"a\\b/", u"a\\b", true},
                 {u"..a/b..c", u"..a\\b..c", false},
                 {u".hidden", u".hidden", false},
                 {u"console/com10/null", u"console\\com10\\null", false},
                 {std::u16string(255, u'x'), std::u16string(255, u'x'), false}};
    for (const auto& [name, expected, expectedFolder] : cases) {
        std::u16string path;
        bool isFolder = !expectedFolder;
        EXPECT_TRUE(MakeRelativePath(name, path, isFolder));
        EXPECT_EQ(path, expected);
        EXPECT_EQ(isFolder, expectedFolder);
    }
}

TEST(EntryNames, DecodesBothCharacterSets) {
    const struct {
        std::string bytes;
        bool isUtf8, isGood;
        std::u16string name;
    } cases[] = {{"a\x81\xE1\xFF", false, true, u"a\u00FC\u00DF\u00A0"},
                 {"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x99\x82", true, true, u"\u00FC\u20AC\U0001F642"},
                 {"\xC0\xAE\xC0\xAE/x", true, false, u""},
                 {"\xE0\x80\xAF", true, false, u""},
                 {"\xED\xA0\x80", true, false, u""},
                 {"\xF4\x90\x80\x80", true, false, u""},
                 {"a\x80", true, false, u""},
                 {"a\xE2\x82", true, false, u""}};
    for (const auto& [bytes, isUtf8, isGood, expected] : cases) {
        std::u16string name;
        EXPECT_EQ(DecodeEntryName(bytes, isUtf8, name), isGood) << bytes;
        if (isGood) {
            EXPECT_EQ(name, expected) << bytes;
        }
    }
}
