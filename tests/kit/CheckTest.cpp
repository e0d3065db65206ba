#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "kit/Icon.h"
#include "kit/Identity.h"
#include "kit/PackPlan.h"
#include "kit/Picture.h"
#include "kit/ProductFolder.h"
#include "Samples.h"
#include "kit/TextFile.h"
#include "support/Scratch.h"

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
        {"displayName", "expected a name with", {"a/b", "dot.", " blank", "100%"}},
        {"displayName", "is \"a\\u0009b\"; expected a name with", {"a\tb"}},
        {"displayName", "no blank at either end", {"a\u00A0", "\u3000a", "a "}},
        {"displayName",
         "not seen",
         {"a\u200Bb", "a\u202Eb", "a\u2066", "\uFEFFa", "a\x7F", "a\u009B"}},
        {"displayName", "device", {"nul", "Com7.x"}},
        {"displayName", "an uninstall would delete", {"Temp", "microsoft", "Package Cache"}},
        {"displayName", "beginning of their path", {"Micro", "p"}},
        {"displayName", "processes by their name", {"Explorer", "svchost", "uninstall", "syspin"}},
        {"slug", "expected at most 64 of a-z", {"Upper", "-x"}},
        {"slug", "device", {"aux"}},
        {"serverHost", "expected a host name alone", {"https://x.example", "x.example:80"}},
        {"serverPort", "expected a number from 1 to 65535", {"0", "65536", "99999999999", "44x"}},
        {"baseUrl", "lower case", {"HTTPS://x.example"}},
        {"baseUrl", "no slash at the end", {"https://x.example/"}},
        {"baseUrl", "pathPrefix", {"https://x.example/a"}},
        {"baseUrl", "expected scheme, host", {"https://x.example:", "https://a b", "https:///x"}},
        {"altUrl", "no slash at the end", {"https://x.example/a/"}},
        {"altUrl", "expected scheme, host", {"https:///x"}},
        {"altUrl", "one slash in front", {"https://x.example/../a", "https://x.example//a"}},
        {"baseUrl", "at most 259", {"https://" + std::string(252, 'x')}},
        {"pathPrefix",
         "expected nothing or a path",
         {"a", "/a/", "/a?b", "/..", "//x", "/a//b", "/./a"}},
        {"guid", "not zeros", {"{00000000-0000-0000-0000-000000000000}"}},
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
        for (const json& value : values) {
            expect(with(key, value), std::string("error: product.json: ") + key, expected);
        }
    }
    const std::pair<const char*, json> fitting[] = {{"displayName", "Ünïque Näme 例"},
                                                    {"displayName", std::string(64, 'x')},
                                                    {"displayName", "Console"},
                                                    {"displayName", "LPT1000"},
                                                    {"displayName", "Tempo"},
                                                    {"displayName", "Explorer 2"},
                                                    {"altUrl", "http://x.example:81/a/b"},
                                                    {"altUrl", ""},
                                                    {"slug", "two-words2"},
                                                    {"serverPort", "65535"},
                                                    {"pathPrefix", "/a/b"},
                                                    {"baseUrl", "http://x.example:8080"}};
    for (const auto& [key, value] : fitting) {
        expect(with(key, value), "", "");
    }
    for (const auto& item : good.items()) {
        json product = good;
        product.erase(item.key());
        expect(product, "error: product.json: " + item.key(), "is missing");
    }
    expect(with("slugg", "x"), "warning: product.json: slugg", "");
    expect(with("displayName", "A & B"), "warning: product.json: displayName", "");
    expect(R"({"slug":"a",)" + good.dump().substr(1), "error: product.json: slug: ", "twice");
    for (const char* text : {"", "{\"slug\": \"\xff\"}", "{"}) {
        expect(text, "error: product.json: ", "is no JSON");
    }
    expect(json::array(), "error: product.json: ", "an object");
}

TEST(Checks, TheCallsAltUrlGoesBeforeTheProducts) {
    const ScratchFolder folder;
    json product = ReadJson(ProductFolder(L"quorvane") + L"\\product.json");
    product["altUrl"] = "https://a.example/x";
    WriteFileText(folder / L"product.json", product.dump());
    PackJob job;
    job.product = folder.path;
    for (const char* given : {"", "https://b.example"}) {
        job.altUrl = given;
        Findings findings;
        EXPECT_EQ(CheckPack(job, findings).altUrl, *given ? given : "https://a.example/x");
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
        {"/TextRetry/hi", 3, "error: texts.json: TextRetry.hi: ", "is 3; expected a text"},
        {"/TextRetry/hi", " \n\u3000\u200B", "error: texts.json: TextRetry.hi: ", "not of blanks"},
        {"/TextRetry/hi", std::string(2001, 'x'), "error: texts.json: TextRetry.hi: ", "2000"},
        {"/TextRetry", 3, "error: texts.json: TextRetry: ", "is 3; expected an object"},
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
        if (entry.value.is_null()) {
            texts.at(pointer.parent_pointer()).erase(pointer.back());
        } else {
            texts[pointer] = entry.value;
        }
        Findings findings;
        ReadTexts(texts.dump(), L"Quorvane", L"a@{b}", findings);
        ExpectOnly(findings, entry.start, entry.expected);
    }
    const std::string retry = good["TextRetry"].dump();
    const std::string twice = R"({"hi":"x",)" + retry.substr(1);
    std::string text = good.dump();
    text.replace(text.find(retry), retry.size(), twice);
    Findings findings;
    ReadTexts(text, L"Quorvane", L"a@{b}", findings);
    ExpectOnly(findings, "error: texts.json: TextRetry.hi: ", "twice");
}

TEST(Checks, OneCauseMakesOneLine) {
    const ScratchFolder folder;
    for (const wchar_t* name : {L"texts.json", L"background.png", L"icon.ico"}) {
        WriteFileText(folder / name, Read(ProductFolder(L"quorvane") + L"\\" + name));
    }
    Findings findings;
    ReadProductFolder(folder.path, findings);
    ExpectOnly(findings, "error: product.json: ", "cannot be read");
    WriteFileText(folder / L"product.json", std::string((16 << 20) + 1, ' '));
    findings.clear();
    ReadProductFolder(folder.path, findings);
    ExpectOnly(findings, "error: product.json: ", "cannot be read: The file is too large.");
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
    EXPECT_EQ(Lines(check(MakePng(1200, 760, 3, PaintTrack))), "");
    ExpectOnly(check(MakePng(1201, 254, 3, PaintTrack)), start + "size: ", "to 1200 x 760");
    const auto clear = [](unsigned x, unsigned y) { return PaintTrack(x, y) - (x == 499); };
    ExpectOnly(check(MakePng(500, 254, 4, clear)), "warning: background.png: ", "opaque");
    ExpectOnly(check(MakePng(499, 254, 4, PaintTrack)), start + "size: ", "499 x 254");
    const struct {
        std::size_t place;
        char value;
        bool isSealed;  // with a header whose checksum is right
        const char* expected;
    } flaws[] = {{0, 'x', false, "is no PNG"},
                 {11, 14, false, "is no PNG"},
                 {24, 16, true, "8 bits per channel"},
                 {25, 3, true, "8 bits per channel"},
                 {26, 1, true, "packed in a way"},
                 {27, 1, true, "packed in a way"},
                 {28, 1, true, "interlaced"},
                 {16, 127, true, "size"},
                 {16, 127, false, "a checksum in it is wrong"},
                 {33, 127, false, "cut off"},
                 {41, 0, false, "a checksum in it is wrong"},
                 {23, -1, true, "cannot be unpacked"}};
    for (const auto& flaw : flaws) {
        std::string png = good;
        png[flaw.place] = flaw.value;
        ExpectOnly(check(flaw.isSealed ? SealPngHeader(png) : png), start, flaw.expected);
    }
    for (std::size_t length = 0; length < good.size(); length += 97) {
        EXPECT_TRUE(HasErrors(check(good.substr(0, length)))) << length;
    }
}

TEST(Checks, Icon) {
    const std::string good = Read(ProductFolder(L"quorvane") + L"\\icon.ico");
    const auto placeOf = [&](unsigned image) {
        unsigned place = 0;
        good.copy(reinterpret_cast<char*>(&place), 4, 6 + image * 16 + 12);
        return place;
    };
    const std::size_t lastEntry = 6 + 3 * 16;
    const unsigned first = placeOf(0), last = placeOf(3);
    const auto with = [&](std::size_t place, char value, std::size_t count = 1) {
        std::string icon = good;
        return icon.replace(place, count, count, value);
    };
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {with(lastEntry, 17), "image of 17 x 16: ", "is 16 x 16; expected"},
        {with(last + 14, 24), "16 x 16: ", "32 bits"},
        {with(last + 4, 15), "image of 16 x 16: ", "is 15 x 16"},
        {with(last + 8, 64), "image of 16 x 16: ", "cut off"},
        {with(last + 16, 1), "image of 16 x 16: ", "neither PNG nor plain bitmap"},
        {with(last, 0, 40), "image of 16 x 16: ", "neither PNG nor plain bitmap"},
        {with(last + 40, 0, 16 * 16 * 4), "image of 16 x 16: ", "zeros alone"},
        {with(lastEntry + 8, 0), "image of 16 x 16: ", "cut off"},
        {with(lastEntry + 11, 1), "image of 16 x 16: ", "outside the file"},
        {with(first + 100, 0, 50), "image of 256 x 256: ", "a checksum in it is wrong"},
        {good.substr(0, 5), "", "is no icon"},
        {good.substr(0, 60), "", "is no icon"},
        {"x" + good, "", "is no icon"},
        {good.substr(0, good.size() - 1), "", "outside the file"}};
    for (const auto& [icon, start, expected] : cases) {
        Findings findings;
        ReadIcon(icon, findings);
        EXPECT_TRUE(HasErrors(findings));
        EXPECT_EQ(Lines(findings).rfind(std::string("error: icon.ico: ") + start, 0), 0u)
            << Lines(findings);
        EXPECT_NE(Lines(findings).find(expected), std::string::npos) << Lines(findings);
    }
}

}  // namespace
