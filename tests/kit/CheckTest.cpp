#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "kit/Icon.h"
#include "kit/Identity.h"
#include "kit/Picture.h"
#include "kit/ProductFolder.h"
#include "Samples.h"
#include "kit/TextFile.h"

namespace {

using nlohmann::json;

TEST(Checks, TextsOfOursAreEachInItsOwnLanguage) {
    Findings findings;
    const Product product = ReadProductFolder(ProductFolder(L"quorvane"), findings);
    EXPECT_EQ(Lines(findings), "");
    for (unsigned row = 0; row < textRows; ++row) {
        std::set<std::wstring> texts;
        for (const auto& column : product.texts) {
            EXPECT_EQ(column[row].empty(), textRowNames[row] == nullptr) << row;
            texts.insert(column[row]);
        }
        // Portuguese and Spanish share a word for removing.
        const bool same = row == textProductName || textRowNames[row] == nullptr;
        EXPECT_EQ(texts.size(), same ? 1u : textColumns - (row == 11)) << row;
    }
    EXPECT_EQ(product.texts[1][8],
              L"Something went wrong, try to restart the installation. If the issue appears again, "
              L"email us support@quorvane.example.");
}

TEST(Checks, Identity) {
    const auto expect = [](const json& product, const std::string& start, const char* expected) {
        Findings findings;
        ReadIdentity(product.is_string() ? product.get<std::string>() : product.dump(), findings);
        ExpectOnly(findings, start, expected);
    };
    const struct {
        const char *key, *expected;
        std::vector<json> values;
    } cases[] = {
        {"displayName", "not empty", {""}},
        {"displayName", "is 5; expected a string", {5}},
        {"displayName", "at most 64", {std::string(65, 'x')}},
        {"displayName", "expected a name with", {"a/b", "a\tb", "dot.", " blank"}},
        {"displayName", "device", {"nul", "Com7.x"}},
        {"slug", "expected at most 64 of a-z", {"Upper", "-x"}},
        {"slug", "device", {"aux"}},
        {"serverHost", "expected a host name alone", {"https://x.example", "x.example:80"}},
        {"serverPort", "expected a number from 1 to 65535", {"0", "65536", "99999999999", "44x"}},
        {"baseUrl", "lower case", {"HTTPS://x.example"}},
        {"baseUrl", "no slash at the end", {"https://x.example/"}},
        {"baseUrl", "pathPrefix", {"https://x.example/a"}},
        {"baseUrl", "expected scheme, host", {"https://x.example:", "https://a b"}},
        {"baseUrl", "at most 259", {"https://" + std::string(252, 'x')}},
        {"pathPrefix", "begins with a slash", {"a"}},
        {"pathPrefix", "ends with none", {"/a/"}},
        {"pathPrefix", "expected nothing or a path", {"/a?b"}},
        {"guid", "upper case", {"{7d2e41c6-3A95-4B08-9E1F-62C8D07AB513}"}},
        {"guid", "braces", {"7D2E41C6-3A95-4B08-9E1F-62C8D07AB513"}},
        {"supportAddress", "e-mail", {"nobody"}},
        {"installerVersion",
         "expected four numbers",
         {"1.2.3", "1.2.3.4.5", "1.2..4", "1.2.3.65536"}},
    };
    const json good = ReadJson(ProductFolder(L"quorvane") + L"\\product.json");
    const auto with = [&](const std::string& key, const json& value) {
        json product = good;
        product[key] = value;
        return product;
    };
    for (const auto& [key, expected, values] : cases) {
        for (const json& value : values)
            expect(with(key, value), std::string("error: product.json: ") + key, expected);
    }
    const std::pair<const char*, json> fitting[] = {{"displayName", "Ünïque Näme 例"},
                                                    {"displayName", std::string(64, 'x')},
                                                    {"displayName", "Console"},
                                                    {"displayName", "LPT1000"},
                                                    {"slug", "two-words2"},
                                                    {"serverPort", "65535"},
                                                    {"pathPrefix", "/a/b"},
                                                    {"baseUrl", "http://x.example:8080"}};
    for (const auto& [key, value] : fitting)
        expect(with(key, value), "", "");
    for (const auto& item : good.items()) {
        json product = good;
        product.erase(item.key());
        expect(product, "error: product.json: " + item.key(), "is missing");
    }
    expect(with("slugg", "x"), "warning: product.json: slugg", "");
    expect(with("displayName", "100%"), "warning: product.json: displayName", "");
    for (const char* text : {"", "{\"slug\": \"\xff\"}", "{"})
        expect(text, "error: product.json: ", "is no JSON");
    expect(json::array(), "error: product.json: ", "an object");
}

TEST(Checks, Texts) {
    const json good = ReadJson(ProductFolder(L"quorvane") + L"\\texts.json");
    const struct {
        const char* pointer;
        json value;  // null: taken away
        const char *start, *expected;
    } cases[] = {
        {"/TextRetry", nullptr, "error: texts.json: TextRetry: ", "is missing"},
        {"/TextRetry/hi", nullptr, "error: texts.json: TextRetry.hi: ", "is missing"},
        {"/TextRetry/hi", "", "error: texts.json: TextRetry.hi: ", "not empty"},
        {"/TextRetry/hi", 3, "error: texts.json: TextRetry.hi: ", "expected a text"},
        {"/TextRetry/en", std::string("a\0b", 3), "error: texts.json: TextRetry.en: ", "NUL"},
        {"/TextRetry/en", "{name}", "error: texts.json: TextRetry.en: ", "brace"},
        {"/TextRetry/pl", "Powtórz", "warning: texts.json: TextRetry.pl: ", "no language"},
        {"/TextOther", json::object(), "warning: texts.json: TextOther: ", "no row"},
        {"/TextProductName/de", "Anders", "warning: texts.json: TextProductName.de",
         "\"Quorvane\""},
        {"/TextInstallFailed/ko", "x",
         "error: texts.json: TextInstallFailed.ko: ", "{supportAddress}"},
        {"/TextUninstallFailed/zh", "{supportAddress}{supportAddress}",
         "error: texts.json: TextUninstallFailed.zh: ", "once"},
    };
    for (const auto& entry : cases) {
        json texts = good;
        const json::json_pointer pointer(entry.pointer);
        if (entry.value.is_null())
            texts.at(pointer.parent_pointer()).erase(pointer.back());
        else
            texts[pointer] = entry.value;
        Findings findings;
        ReadTexts(texts.dump(), L"Quorvane", L"a@{b}", findings);
        ExpectOnly(findings, entry.start, entry.expected);
    }
}

TEST(Checks, Picture) {
    const auto check = [](const std::string& png) {
        Findings findings;
        CheckPicture(png, findings);
        return findings;
    };
    const std::string good = MakePng(500, 254, 4, PaintTrack), start = "error: background.png: ";
    EXPECT_EQ(Lines(check(good)), "");
    EXPECT_EQ(Lines(check(MakePng(613, 300, 3, PaintTrack))), "");
    const auto dotted = [](unsigned x, unsigned y) {
        return x == 411 && y == 191 ? 0xFF : PaintTrack(x, y);
    };
    ExpectOnly(check(MakePng(500, 254, 4, dotted)),
               start + "the bar's track: ", "at 411,191 the colour is 0,0,0");
    const auto clear = [](unsigned x, unsigned y) { return PaintTrack(x, y) - (x == 499); };
    ExpectOnly(check(MakePng(500, 254, 4, clear)), "warning: background.png: ", "opaque");
    ExpectOnly(check(MakePng(499, 254, 4, PaintTrack)), start + "size: ", "499 x 254");
    const struct {
        std::size_t place;
        char value;
        const char* expected;
    } flaws[] = {{0, 'x', "is no PNG"},
                 {24, 16, "8 bits per channel"},
                 {25, 3, "8 bits per channel"},
                 {28, 1, "interlaced"},
                 {16, 127, "size"},
                 {33, 127, "cut off"},
                 {41, 0, "cannot be unpacked"},
                 {23, -1, "cannot be unpacked"}};
    for (const auto& flaw : flaws) {
        std::string png = good;
        png[flaw.place] = flaw.value;
        ExpectOnly(check(png), start, flaw.expected);
    }
    for (std::size_t length = 0; length < good.size(); length += 97)
        EXPECT_TRUE(HasErrors(check(good.substr(0, length)))) << length;
}

TEST(Checks, Icon) {
    const std::string good = Read(ProductFolder(L"quorvane") + L"\\icon.ico");
    const std::size_t lastEntry = 6 + 3 * 16;
    unsigned lastImage = 0;
    good.copy(reinterpret_cast<char*>(&lastImage), 4, lastEntry + 12);
    const auto with = [&](std::size_t place, char value) {
        std::string icon = good;
        icon[place] = value;
        return icon;
    };
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {with(lastEntry, 17), "16 x 16: ", "is missing"},
        {with(lastImage + 14, 8), "16 x 16: ", "32 bits"},
        {good.substr(0, 5), "", "is no icon"},
        {good.substr(0, 60), "", "is no icon"},
        {"x" + good, "", "is no icon"},
        {good.substr(0, good.size() - 1), "", ""}};
    for (const auto& [icon, start, expected] : cases) {
        Findings findings;
        ReadIcon(icon, findings);
        EXPECT_TRUE(HasErrors(findings));
        EXPECT_EQ(Lines(findings).rfind(std::string("error: icon.ico: ") + start, 0), 0u);
        EXPECT_NE(Lines(findings).find(expected), std::string::npos) << Lines(findings);
    }
}

}  // namespace
