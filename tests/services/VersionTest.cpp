#include "services/Version.h"

#include <gtest/gtest.h>

TEST(Version, ReadsThreeShortTokens) {
    const std::pair<std::string, std::string> cases[] = {
        {"1.2.3", "1.2.3"},       {"01.002.3", "1.2.3"},     {"999.0.999", "999.0.999"},
        {"1.2", "1.2.-1"},        {"1.2.", "1.2.-1"},        {"1..3", "1.-1.3"},
        {"", "-1.-1.-1"},         {"..", "-1.-1.-1"},        {" 1.+2. -3", "1.2.-3"},
        {"x.5y.z3", "-1.5.-1"},   {"1.2.3.4", "1.2.3"},      {"1.2.3-beta", "1.2.3"},
        {"1.2.3456", "1.2.345"},  {"1.2345.6", "1.234.-1"},  {"1234.5.6", "123.-1.-1"},
        {"123.45.", "123.45.-1"}, {"-123.5.6", "-12.-1.-1"},
    };
    // Used again, so that nothing of the version before may stay.
    Version version;
    for (const auto& [text, expected] : cases) {
        for (const bool isWide : {false, true}) {
            isWide ? version.Parse(std::wstring(text.begin(), text.end()))
                   : version.Parse(text.c_str());
            EXPECT_EQ(version.text, expected) << text;
            EXPECT_EQ(version.wideText, std::wstring(expected.begin(), expected.end()));
            EXPECT_EQ(std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
                          std::to_string(version.patch),
                      expected);
        }
    }
    version.Parse(static_cast<const char*>(nullptr));
    EXPECT_EQ(version.text + std::to_string(version.major), "0");
    EXPECT_EQ(version.wideText, L"");
}

TEST(Version, ComparesNumbersFromTheFirst) {
    Version a, b;
    for (const auto& [newer, older] : {std::pair("2.0.0", "1.9.9"),
                                       {"1.10.0", "1.9.9"},
                                       {"1.2.10", "1.2.9"},
                                       {"1.2.0", "1.2"}}) {
        a.Parse(newer);
        b.Parse(older);
        EXPECT_EQ(a.Compare(b), 1) << newer << " " << older;
        EXPECT_EQ(b.Compare(a), -1) << newer << " " << older;
    }
    b.Parse("01.2.0.4");
    EXPECT_EQ(a.Compare(b), 0);
}
