#include <cstring>
#include <vector>

#include "kit/AppFolder.h"
#include "kit/Icon.h"
#include "kit/Images.h"
#include "kit/Picture.h"
#include "kit/ProductTexts.h"
#include "kit/Stamp.h"
#include "Samples.h"

namespace {

using nlohmann::json;

/// One change of the reference product or its application, and the one line that tells of it.
struct Case {
    std::string place;         // in the file, as it is told; empty: the file as a whole
    std::vector<json> values;  // of a key of JSON, else the whole content; null: taken away
    std::string words = "";    // empty: fits
    std::string level = "error: ";
    std::vector<std::string> architectures = {};
};

using Check = std::function<void(const std::string& content, Findings& findings, const Case& row)>;

void Expect(const std::string& file, const Check& check, const std::vector<Case>& rows) {
    for (const Case& row : rows) {
        const std::string part = file.empty() || row.place.empty() ? "" : ": ";
        for (json content : row.values) {
            if (file.ends_with(".json") && !row.place.empty()) {
                json patch, whole = json::parse(ReadFileText(sampleProduct + Widen(file)));
                std::string key = "/" + row.place;
                std::ranges::replace(key, '.', '/');
                patch[json::json_pointer(key)] = content;
                whole.merge_patch(patch);
                content = whole.dump();
            }
            ExpectFinding([&](auto& found) { check(content, found, row); },
                          row.words.empty() ? "" : row.level + file + part + row.place + ": ",
                          row.words, file == "icon.ico");
        }
    }
}

std::string With(std::string text, std::size_t place, char value, std::size_t count = 1) {
    return text.replace(place, count, count, value);
}

TEST(Refusals, Identity) {
    const std::string good = ReadFileText(sampleProduct + L"product.json");
    std::vector<Case> rows = {
        {"displayName", {"Ünïque 例", std::string(64, 'x'), "Console", "LPT1000", "Tempo"}},
        {"displayName", {std::string(65, 'x'), "nul", "Com7.x", "100%", "a/b"}, "\"; expected "},
        {"displayName", {"dot.", " blank", "a\u00A0", "\u3000a"}, "at "},
        {"displayName", {"a\u200Bb", "a\u202Eb", "\uFEFFa", "a\x7F", "a\u009B"}, "not seen"},
        {"displayName", {"a\tb"}, "is \"a\\u0009b\"; expected a name with"},
        {"displayName", {"Temp", "microsoft", "Package Cache"}, "an uninstall would delete"},
        {"displayName", {"Micro", "p", "Explorer", "svchost", "uninstall"}, "ends pro"},
        {"displayName", {"A & B"}, "a line under the next letter", "warning: "},
        {"slug", {"Upper", "-x"}, "expected at most 64 of a-z"},
        {"serverHost", {"https://x.example", "x.example:80"}, "expected a host name alone"},
        {"serverPort", {"65535"}},
        {"serverPort", {"0", "65536", "99999999999", "44x"}, "expected a number from 1 to 65535"},
        {"baseUrl", {"https://x.example/", "https://x.example/a"}, "expected "},
        {"baseUrl", {"https://x.example:", "https://a b", "https:///x"}, "expected scheme, host"},
        {"baseUrl", {"https://" + std::string(252, 'x')}, "at most 259"},
        {"altUrl", {"http://x.example:81/a/b", ""}},
        {"altUrl", {"https://x.example/../a", "https://x.example//a"}, "one slash in front"},
        {"pathPrefix", {"a", "/a/", "/a?b", "/..", "//x", "/a//b", "/./a"}, "expected nothing or"},
        {"guid", {"{7d2e41c6-3A95-4B08-9E1F-62C8D07AB513}", "7D2E41C6"}, "braces and upper case"},
        {"supportAddress", {"nobody"}, "e-mail"},
        {"installerVersion", {"1.2.3", "1.2.3.4.5", "1.2..4", "1.2.3.65536"}, "four numbers"},
        {"slugg", {"x"}, "is not known", "warning: "},
        {"", {"", "{\"slug\": \"\xff\"}", "{"}, "is no JSON"},
        {"", {"[]"}, "an object"},
        {"", {R"({"slug":"a",)" + good.substr(1)}, "slug: is there twice"},
    };
    const json parsed = json::parse(good);
    for (const auto& item : parsed.items())
        rows.push_back({item.key(), {nullptr}, "is missing"});
    Expect(
        "product.json", [](auto& text, auto& found, auto&) { ReadIdentity(text, {}, found); },
        rows);
}

TEST(Refusals, Texts) {
    EXPECT_NE(SampleProduct().texts[1][8].find(L" us support@quorvane.example."),
              std::string::npos);
    const Check check = [](auto& text, auto& found, auto&) {
        ReadTexts(text, L"Quorvane", L"a@{b}", found);
    };
    Expect(
        "texts.json", check,
        {{"TextRetry.hi", {nullptr, " \n\u3000\u200B", std::string(2001, 'x')}, "expected "},
         {"TextRetry.en", {std::string("a\0b", 3), "{name}"}, "; expected "},
         {"TextRetry.pl", {"Powtórz"}, "no language", "warning: "},
         {"TextOther", {json::object()}, "no row", "warning: "},
         {"TextProductName.de", {"Anders"}, "\"Quorvane\"", "warning: "},
         {"TextInstallFailed.ko", {"x", "{supportAddress}{supportAddress}"}, "{supportAddress} "}});
}

TEST(Refusals, Picture) {
    const Pixels pixels = DecodeImages(SampleProduct().picture).at(0);
    const auto painted = [&](unsigned place, unsigned colour) {
        Pixels changed = pixels;
        changed.rows.at(place) = colour;
        return EncodePng(changed, true);
    };
    Pixels wide = {613, 254, {}};
    for (unsigned i = 0; i < 613 * 254; ++i)
        wide.rows.push_back(pixels.rows.at(i / 613 * 500 + std::min(i % 613, 499u)));
    const std::string good = painted(0, 0xFF000000), broad = With(good, 18, 4);
    std::vector<json> damaged = {With(good, 23, -1), With(good, 26, 1), With(good, 33, 127),
                                 With(good, 41, 0), With(broad, 19, '\xB0')};
    for (std::size_t length = 33; length < good.size() - 12; length += 97)
        damaged.push_back(good.substr(0, length));
    Expect(
        "background.png", [](auto& text, auto& found, auto&) { CheckPicture(text, found); },
        {{"", {good, EncodePng(wide, false), painted(176 * 500 + 90, 0xFFE9EBE7)}},
         {"size", {With(broad, 19, '\xB1')}, "is 1201 x 254; expected from 500 x"},
         {"size", {With(good, 19, '\xF3')}, "is 499 x 254"},
         {"the bar's track", {painted(191 * 500 + 411, 0xFF000102)}, "at 411,191 the colour is 0,"},
         {"the bar's track", {painted(176 * 500 + 90, 0xFFEAE7E3)}, "at 90,176"},
         {"", {painted(254 * 500 - 1, 0xFEFFFFFF)}, "is transparent in places", "warning: "},
         {"", {"", With(good, 0, 'x'), With(good, 11, 14)}, "is no PNG"},
         {"", {With(good, 24, 16), With(good, 25, 3)}, "8 bits per channel"},
         {"", {With(good, 28, 1)}, "interlaced"},
         {"", damaged, "damaged"}});
}

TEST(Refusals, Icon) {
    const std::string good = ReadFileText(sampleProduct + L"icon.ico");
    unsigned first = 0, last = 0;
    const std::size_t entry = 6 + 3 * 16;
    good.copy(reinterpret_cast<char*>(&first), 4, 6 + 12);
    good.copy(reinterpret_cast<char*>(&last), 4, entry + 12);
    Expect("icon.ico", [](auto& text, auto& found, auto&) { ReadIcon(text, found); },
           {{"image of 17 x 16", {With(good, entry, 17)}, "is 16 x 16; expected"},
            {"16 x 16", {With(good, 4, 3)}, "is missing"},
            {"16 x 16", {With(good, last + 14, 24)}, "32 bits"},
            {"image of 16 x 16", {With(good, last + 8, 64), With(good, entry + 8, 0)}, "cut off"},
            {"image of 16 x 16", {With(good, last + 16, 1)}, "neither PNG nor plain bitmap"},
            {"image of 16 x 16", {With(good, last + 40, 0, 16 * 16 * 4)}, "zeros alone"},
            {"image of 256 x 256", {With(good, first + 100, 0, 50)}, "damaged"},
            {"", {good.substr(0, 5), good.substr(0, 60), "x" + good}, "is no icon"},
            {"image of 16 x 16", {good.substr(0, good.size() - 1)}, "outside the file"}});
}

TEST(Refusals, Application) {
    const ScratchFolder folder;
    const Identity identity = SampleProduct().identity;
    Product other = SampleProduct();
    other.identity.guid[1] = L'0';
    std::vector<StampedPart> parts;
    EXPECT_FALSE(StampProduct({sampleBase, L"", folder / L"other.exe"}, other, parts));
    const std::string program = ReadFileText(sampleBase);
    const std::size_t machine = *reinterpret_cast<const unsigned*>(&program[0x3c]) + 4;
    const std::string for64 = With(With(program, machine, 0x64), machine + 1, '\x86'),
                      forArm = With(for64, machine + 1, '\xaa');
    const char *starter = "QuorvaneStarter.exe", *package = "resources/app/package.json";
    const auto version = [](const std::string& text) { return R"({"version":")" + text + "\"}"; };
    const Check check = [&](auto& content, auto& found, auto& row) {
        const SampleApp fresh;
        const std::wstring path = fresh.app + L"\\" + Widen(row.place);
        DeleteFileW(path.c_str());
        if (content != "<missing>")
            WriteFileText(path, content);
        ReadAppFolder(fresh.app, identity, row.architectures, found);
    };
    Expect("", check,
           {{starter, {"<missing>"}, "expected the starter"},
            {starter, {for64}, "", "", {"x64"}},
            {starter, {for64}, "64-bit program", "error: ", {"x64", "ia32"}},
            {starter, {forArm}, "another processor"},
            {"syspin.exe", {"<missing>"}, "expected the pin tool"},
            {"Quorvane.exe", {for64}},
            {"Quorvane.exe", {forArm}, "another processor"},
            {"Quorvane.exe", {"<missing>"}, "or --arch"},
            {"Quorvane.exe", {"<missing>"}, "waits for", "warning: ", {"x64"}},
            {"uninstall.exe", {program}, "is no setup program"},
            {"uninstall.exe", {ReadFileText(folder / L"other.exe")}, "of Quorvane {0"},
            {".git", {"gitdir"}, "version control", "warning: "},
            {package, {"<missing>"}, "cannot be read"},
            {package, {"{}", "{\"version\": 5}"}, "version: is missing"},
            {package, {"\xEF\xBB\xBF{\"version\":\"0.10.999\"}"}},
            {package, {R"({"version":"1.2.3","windows":[]})"}, "no such key"},
            {package, {version("1.2"), version("1.2.3.4"), version("1..3")}, "three numbers"},
            {package, {version("1.02.3"), version("1.2.1000"), version("1.2.3-b")}, "up to 999"}});
    // The program may lie deeper.
    const SampleApp sample;
    WriteFileText(sample.app + L"\\empty\\Quorvane.exe", program);
    DeleteFileW((sample.app + L"\\Quorvane.exe").c_str());
    const HeldOpen held(sample.app + L"\\syspin.exe");
    Findings findings;
    EXPECT_EQ(ReadAppFolder(sample.app, identity, {}, findings).arch, "ia32");
    EXPECT_EQ(Lines(findings).find("error: syspin.exe: cannot be opened"), 0u) << Lines(findings);
}

}  // namespace
