#include <gtest/gtest.h>

#include <set>
#include <string>

#include "kit/Files.h"
#include "kit/Icon.h"
#include "kit/Identity.h"
#include "kit/Picture.h"
#include "kit/ProductFolder.h"
#include "Samples.h"
#include "kit/TextFile.h"

namespace {

using nlohmann::json;

TEST(Products, OursFit) {
    for (const wchar_t* name : {L"quorvane", L"local"}) {
        Findings findings;
        ReadProductFolder(ProductFolder(name), findings);
        EXPECT_EQ(Lines(findings), "") << Narrow(name);
    }
}

TEST(Products, MissingFolderIsToldFileByFile) {
    Findings findings;
    ReadProductFolder(ProductFolder(L"none"), findings);
    EXPECT_EQ(findings.size(), 4u) << Lines(findings);
    EXPECT_TRUE(HasErrors(findings));
}

TEST(Products, EveryTextIsInItsOwnLanguage) {
    Findings findings;
    const Product product = ReadProductFolder(ProductFolder(L"quorvane"), findings);
    for (unsigned row = 0; row < textRows; ++row) {
        std::set<std::wstring> texts;
        for (const auto& column : product.texts) {
            EXPECT_EQ(column[row].empty(), textRowNames[row] == nullptr) << row;
            texts.insert(column[row]);
            const bool helps = row == textInstallFailed || row == textUninstallFailed;
            EXPECT_EQ(helps,
                      column[row].find(product.identity.supportAddress) != std::wstring::npos)
                << Narrow(column[row]);
        }
        // Portuguese and Spanish share a word for removing.
        const bool same = row == textProductName || textRowNames[row] == nullptr;
        EXPECT_EQ(texts.size(), same ? 1u : textColumns - (row == 11)) << row;
    }
    // Where a text editor or a zealous hand would change something.
    EXPECT_EQ(product.texts[10][12].front(), L' ');
    EXPECT_EQ(product.texts[10][18], Widen("متابعة التثبيت؟ .Quorvane محدّث"));
    EXPECT_EQ(product.texts[7][3], Widen("Voulez-vous vraiment annuler l'installation ?"));
    EXPECT_EQ(product.texts[1][8],
              L"Something went wrong, try to restart the installation. If the issue appears again, "
              L"email us support@quorvane.example.");
}

TEST(Checks, Identity) {
    const std::string number = "expected a number from 1 to 65535";
    const std::string form = "expected a name with";
    const std::string url = "expected scheme, host";
    const struct {
        const char* key;
        json value;
        std::string expected;  // empty: fits
    } cases[] = {
        {"displayName", "Ünïque Näme 例", ""},
        {"displayName", "", "not empty"},
        {"displayName", 5, "is 5; expected a string"},
        {"displayName", std::string(64, 'x'), ""},
        {"displayName", std::string(65, 'x'), "at most 64"},
        {"displayName", "a/b", form},
        {"displayName", "a\tb", form},
        {"displayName", "dot.", form},
        {"displayName", " blank", form},
        {"displayName", "nul", "device"},
        {"displayName", "Com7.x", "device"},
        {"displayName", "Console", ""},
        {"displayName", "LPT1000", ""},
        {"slug", "two-words2", ""},
        {"slug", "Upper", "expected at most 64 of a-z"},
        {"slug", "-x", "expected at most 64 of a-z"},
        {"slug", "aux", "device"},
        {"serverHost", "https://x.example", "expected a host name alone"},
        {"serverHost", "x.example:80", "expected a host name alone"},
        {"serverPort", "0", number},
        {"serverPort", "65535", ""},
        {"serverPort", "65536", number},
        {"serverPort", "99999999999", number},
        {"serverPort", "44x", number},
        {"baseUrl", "HTTPS://x.example", "lower case"},
        {"baseUrl", "https://x.example/", "no slash at the end"},
        {"baseUrl", "https://x.example/a", "pathPrefix"},
        {"baseUrl", "http://x.example:8080", ""},
        {"baseUrl", "https://x.example:", url},
        {"baseUrl", "https://a b", url},
        {"baseUrl", "https://" + std::string(252, 'x'), "at most 259"},
        {"pathPrefix", "/a/b", ""},
        {"pathPrefix", "a", "begins with a slash"},
        {"pathPrefix", "/a/", "ends with none"},
        {"pathPrefix", "/a?b", "expected nothing or a path"},
        {"guid", "{7d2e41c6-3A95-4B08-9E1F-62C8D07AB513}", "upper case"},
        {"guid", "7D2E41C6-3A95-4B08-9E1F-62C8D07AB513", "braces"},
        {"supportAddress", "nobody", "e-mail"},
        {"installerVersion", "1.2.3", "expected four numbers"},
        {"installerVersion", "1.2.3.4.5", "expected four numbers"},
        {"installerVersion", "1.2..4", "expected four numbers"},
        {"installerVersion", "1.2.3.65536", "expected four numbers"},
    };
    const json good = ReadJson(ProductFolder(L"quorvane") + L"\\product.json");
    for (const auto& entry : cases) {
        json product = good;
        product[entry.key] = entry.value;
        Findings findings;
        ReadIdentity(product.dump(), findings);
        if (entry.expected.empty())
            EXPECT_EQ(Lines(findings), "");
        else
            ExpectOnly(findings, std::string("error: product.json: ") + entry.key, entry.expected);
    }
    for (const auto& item : good.items()) {
        json product = good;
        product.erase(item.key());
        Findings findings;
        ReadIdentity(product.dump(), findings);
        ExpectOnly(findings, "error: product.json: " + item.key(), "is missing");
    }
    for (const auto& [key, value] : {std::pair("slugg", "x"), std::pair("displayName", "100%")}) {
        json product = good;
        product[key] = value;
        Findings findings;
        ReadIdentity(product.dump(), findings);
        ExpectOnly(findings, std::string("warning: product.json: ") + key, "");
    }
    for (const char* text : {"", "{\"slug\": \"\xff\"}", "{", "[]"}) {
        Findings findings;
        ReadIdentity(text, findings);
        ExpectOnly(findings, "error: product.json: ", *text == '[' ? "an object" : "is no JSON");
    }
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
    const auto check = [](std::string png) {
        Findings findings;
        CheckPicture(png, findings);
        return findings;
    };
    EXPECT_EQ(Lines(check(MakePng(500, 254, 4, PaintTrack))), "");
    EXPECT_EQ(Lines(check(MakePng(613, 300, 3, PaintTrack))), "");
    const auto dotted = [](unsigned x, unsigned y) {
        return x == 411 && y == 191 ? 0xFF : PaintTrack(x, y);
    };
    ExpectOnly(check(MakePng(500, 254, 4, dotted)),
               "error: background.png: the bar's track: ", "at 411,191 the colour is 0,0,0");
    const auto clear = [](unsigned x, unsigned y) { return PaintTrack(x, y) - (x == 499); };
    ExpectOnly(check(MakePng(500, 254, 4, clear)), "warning: background.png: ", "opaque");
    ExpectOnly(check(MakePng(499, 254, 4, PaintTrack)),
               "error: background.png: size: ", "499 x 254");

    const std::string good = MakePng(500, 254, 4, PaintTrack);
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
        ExpectOnly(check(png), "error: background.png: ", flaw.expected);
    }
    for (std::size_t length = 0; length < good.size(); length += 97)
        EXPECT_TRUE(HasErrors(check(good.substr(0, length)))) << length;
}

TEST(Checks, Icon) {
    const std::string good = Read(ProductFolder(L"quorvane") + L"\\icon.ico");
    const auto check = [](const std::string& icon) {
        Findings findings;
        ReadIcon(icon, findings);
        return findings;
    };
    const std::size_t lastEntry = 6 + 3 * 16;
    std::string other = good;
    other[lastEntry] = 17;
    ExpectOnly(check(other), "error: icon.ico: 16 x 16: ", "is missing");
    other = good;
    const auto lastImage = static_cast<unsigned char>(good[lastEntry + 12]) |
                           static_cast<unsigned char>(good[lastEntry + 13]) << 8;
    other[lastImage + 14] = 8;
    ExpectOnly(check(other), "error: icon.ico: 16 x 16: ", "32 bits");
    for (const std::string& flaw : {good.substr(0, 5), good.substr(0, 60), "x" + good})
        ExpectOnly(check(flaw), "error: icon.ico: ", "is no icon");
    EXPECT_TRUE(HasErrors(check(good.substr(0, good.size() - 1))));
}

}  // namespace
