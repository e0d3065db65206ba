#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/AppEntries.h"
#include "kit/AppFolder.h"
#include "kit/Checksums.h"
#include "kit/Files.h"
#include "kit/Sha256.h"
#include "kit/Stamp.h"
#include "kit/UpdateManifest.h"
#include "Samples.h"
#include "support/Scratch.h"

namespace {

TEST(Entries, Checks) {
    // C:\Users\ 20 \AppData\Local\ is 44 long; then 9 \1.2.3.BKP\, or Temp\ 9 .TEMP\.
    const std::wstring longest(259 - 44 - 9 - 11, L'n');
    const AppEntry half = {L"a", false, false, 9, 1u << 30};
    const struct {
        std::vector<AppEntry> entries;
        const char *start = "", *expected = "";  // empty: fits
        const char* version = "1.2.3";
    } cases[] = {
        {{{L"a", true}, {L"a/b.txt"}, {L"a/.hidden"}, {L"ä b"}}},
        {{{longest}}},
        {{{longest + L"n"}}, "error: nnn", "has 196 characters; expected at most 195"},
        // A longer version takes more room than the unpacking folder.
        {{{longest}}, "error: nnn", "expected at most 192", "10.20.30"},
        {{{longest.substr(12), true}}},
        {{{longest.substr(11), true}}, "error: nnn", "184 characters; expected at most 183"},
        {{{L"a/CON"}}, "error: a/CON: ", "device"},
        {{{L"lpt0.txt"}}, "error: lpt0.txt: ", "device"},
        {{{L"conin$"}}, "error: conin$: ", "device"},
        {{{L"a/dot."}}, "error: a/dot.: ", "no full stop"},
        {{{L"a/blank "}}, "error: a/blank : ", "no blank"},
        {{{L"a:b"}}, "error: a:b: ", "none of < >"},
        {{{L"a\\b"}}, "error: a\\b: ", "none of < >"},
        {{{L"a\x1f"}}, "error: a\\u001f: ", "control"},
        {{{L"l", false, true}}, "error: l: ", "is a link"},
        {{{L"Ärger/a"}, {L"ärger/A"}}, "error: ärger/A: ", "the same to Windows as Ärger/a"},
        {{{L"a", false, false, 0xFFFFFFFE, 5}}},
        {{{L"a", false, false, 0xFFFFFFFF, 5}}, "error: a: ", "4 GiB"},
        {{half, {L"b", false, false, 9, (1u << 30) - 200}}},
        {{half, {L"b", false, false, 9, 1u << 30}}, "error: application: size: ", "about 2048 MiB"},
    };
    for (const auto& [entries, start, expected, version] : cases) {
        Findings findings;
        CheckAppEntries(entries, L"Zwei Töne", version, findings);
        ExpectOnly(findings, start, expected);
    }
    std::vector<AppEntry> many;
    for (unsigned i = 0; i < 65535; ++i) {
        many.push_back({std::to_wstring(i)});
    }
    Findings findings;
    CheckAppEntries(many, L"a", "1.2.3", findings);
    ExpectOnly(findings, "error: application: entries: ", "are 65535");
}

TEST(App, Checks) {
    const std::string program = Read(sampleBase);
    const auto programFor = [&program](unsigned short machine) {
        std::string other = program;
        std::memcpy(&other[*reinterpret_cast<const unsigned*>(&program[0x3c]) + 4], &machine, 2);
        return other;
    };
    Product product;
    product.identity.displayName = L"Ä B";
    product.identity.guid = L"{7D2E41C6-3A95-4B08-9E1F-62C8D07AB513}";
    const ScratchFolder made;
    const auto makeSetup = [&made](const Product& whose) {
        std::vector<StampedPart> parts;
        EXPECT_EQ(StampProduct({sampleBase, L"", made / L"setup.exe"}, whose, parts), "");
        return Read(made / L"setup.exe");
    };
    Product other = product;
    other.identity.guid[1] = L'8';
    const std::wstring starter = L"Ä BStarter.exe", package = L"resources\\app\\package.json";
    struct Case {
        std::wstring file;
        std::string content;        // "-": taken away
        const char* expected = "";  // empty: fits
        std::vector<std::string> architectures = {};
        std::string level = "error: ";
    };
    std::vector<Case> cases = {
        {starter, "-", "expected the starter"},
        {starter, "MZ", "no Windows program"},
        {starter, programFor(0x8664), "", {"x64"}},
        {starter, programFor(0x8664), "64-bit program", {"x64", "ia32"}},
        {starter, programFor(0x8664), "64-bit program"},
        {L"syspin.exe", programFor(0x8664), "64-bit program"},
        {L"Ä B.exe", programFor(0x8664), ""},
        {L"Ä B.exe", programFor(0x8664), "64-bit program", {"ia32"}},
        {L"Ä B.exe", programFor(0xaa64), "another processor"},
        {L"Ä B.exe", "-", "or --arch"},
        {starter, programFor(0xaa64), "another processor"},
        {L"syspin.exe", "-", "expected the pin tool"},
        {L"uninstall.exe", "text", "no Windows program"},
        {L"uninstall.exe", program, "is no setup program"},
        {L"uninstall.exe", makeSetup(other), "of Ä B {8D2E41C6-"},
        {L"uninstall.exe", makeSetup(product) + "signed", "as it is", {}, "warning: "},
        {L".git", "gitdir", "version control", {}, "warning: "},
        {L"Ä B.exe", "-", "waits for", {"x64"}, "warning: "},
        {package, "-", "cannot be read"},
        {package, "[]", "no JSON object"},
        {package, "{}", "version: is missing"},
        {package, "{\"version\": 5}", "version: is missing"},
        {package, "\xEF\xBB\xBF{\"version\":\"0.10.999\"}"},
        {package, R"({"version":"1.2.3","windows":[]})", "no such key"},
    };
    for (const char* version : {"1.2", "1.2.3.4", "1.2.3-beta", "1.02.3", "1.2.1000", "1..3"}) {
        cases.push_back(
            {package, std::string("{\"version\":\"") + version + "\"}", "three numbers up to 999"});
    }
    for (const auto& [file, content, expected, architectures, level] : cases) {
        const ScratchFolder folder;
        for (const wchar_t* name : {L"Ä BStarter.exe", L"Ä B.exe", L"syspin.exe"}) {
            WriteFileText(folder / name, program);
        }
        WriteFileText(folder / package, R"({"version":"1.2.3"})");
        if (content == "-") {
            EXPECT_TRUE(DeleteFileW((folder / file).c_str()));
        } else {
            WriteFileText(folder / file, content);
        }
        Findings findings;
        ReadAppFolder(folder.path, product.identity, architectures, findings);
        const std::string name = file == package ? "resources/app/package.json" : Narrow(file);
        ExpectOnly(findings, *expected == '\0' ? "" : level + name + ": ", expected);
    }
    // Without a name nothing is said of programs that have it; the application may lie deeper.
    const ScratchFolder folder;
    for (const wchar_t* name : {L"deep\\held.bin", L"deep\\Ä B.exe", L"Ä BStarter.exe"}) {
        WriteFileText(folder / name, programFor(0x8664));
    }
    WriteFileText(folder / L"syspin.exe", program);
    WriteFileText(folder / package, R"({"version":"1.2.3"})");
    const HeldOpen held(folder / L"deep\\held.bin");
    for (const Identity& identity : {Identity(), product.identity}) {
        Findings findings;
        EXPECT_EQ(ReadAppFolder(folder.path, identity, {}, findings).arch,
                  identity.displayName.empty() ? "" : "x64");
        ExpectOnly(findings, "error: deep/held.bin: ", "cannot be opened");
    }
}

TEST(Lists, Manifest) {
    const ArchiveOffer x64 = {"x64", "u64", "", "h64"}, ia32 = {"ia32", "u32", "v32", "h32"};
    const std::string entry64 = R"({"url":"u64","arch":"x64","hash":"h64"})";
    const std::string both =
        R"({"url":"u32","altUrl":"v32","arch":"ia32","hash":"h32"},)" + entry64;
    const std::string other = R"({"arch":"arm64","url":"z","note":1})";
    const std::string old = R"({"arch":"x64","url":"old","altUrl":"old","hash":"old"})";
    const auto windows = [](const std::string& entries, const char* version = "1.2.3") {
        return std::string("{\"version\":\"") + version + "\",\"windows\":[" + entries + "]}";
    };
    const struct {
        std::string existing;
        std::vector<ArchiveOffer> offers;
        std::string merged;  // empty: not looked at
        const char *finding = "", *expected = "";
    } cases[] = {
        {"", {x64}, windows(entry64)},
        {"", {x64, ia32}, windows(both)},
        {windows(entry64), {ia32}, windows(both)},
        {windows(old + "," + other), {x64}, windows(other + "," + entry64)},
        {R"({"version":"1.2.3"})", {x64}, windows(entry64)},
        // What a team added by hand stays with its version.
        {R"({"version":"1.2.3","notes":"x"})",
         {x64},
         R"({"version":"1.2.3","notes":"x","windows":[)" + entry64 + "]}"},
        {windows(other, "1.2.2"), {x64}, windows(entry64)},
        {windows(other, "1.10.0"), {x64}, windows(entry64), "warning", "is 1.10.0 already"},
        {"[]", {x64}, "", "error", "no JSON object"},
        {"{", {x64}, "", "error", "no JSON object"},
        {"{}", {x64}, "", "error", "version: is missing"},
        {R"({"version":"1.2.3","windows":"x"})", {x64}, "", "error", "windows: expected an array"},
        {windows(R"({"arch":5})"), {x64}, "", "error", "windows: expected an array"},
    };
    for (const auto& entry : cases) {
        Findings findings;
        const std::string text = MergeManifest(entry.existing, "1.2.3", entry.offers, findings);
        ExpectOnly(findings, entry.finding, entry.expected);
        if (!entry.merged.empty()) {
            EXPECT_EQ(nlohmann::json::parse(text), nlohmann::json::parse(entry.merged));
        }
    }
}

TEST(Lists, Checksums) {
    const std::string a(64, 'a'), b(64, 'b'), c(64, 'c');
    const auto isThere = [](const std::string& path) { return path != "gone"; };
    Findings findings;
    EXPECT_EQ(MergeChecksums(
                  c + "  z y.exe\n" + b + " *m\n" + b + "  gone\n" + b + "  new",  // no line end
                  {{"new", a}, {"first/ä", c}}, isThere, findings),
              c + "  first/ä\n" + b + "  m\n" + a + "  new\n" + c + "  z y.exe\n");
    EXPECT_EQ(Lines(findings), "");
    for (const std::string& line :
         {a, a + "  ", a + " x", "x" + a + "  y", "A" + a.substr(1) + "  y"}) {
        findings.clear();
        MergeChecksums(b + "  fine\n" + line + "\n", {}, isThere, findings);
        ExpectOnly(findings, "error: SHA256SUMS: line 2: ", "expected 64 digits");
    }
    // The example of the standard (FIPS 180-2).
    const ScratchFolder folder;
    WriteFileText(folder / L"abc", "abc");
    std::string hex;
    EXPECT_EQ(HashFile(folder / L"abc", hex), 0u);
    EXPECT_EQ(hex, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(HashFile(folder / L"none", hex), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(hex, "");
}

}  // namespace
