#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kit/AppEntries.h"
#include "kit/AppFolder.h"
#include "kit/Checksums.h"
#include "kit/Files.h"
#include "kit/Sha256.h"
#include "kit/UpdateManifest.h"
#include "Samples.h"
#include "support/Scratch.h"

namespace {

TEST(Entries, Checks) {
    const std::wstring name = L"Zwei Töne";  // 9 characters
    // C:\Users\ 20 \AppData\Local\ is 44 long; then 9 \1.2.3.BKP\, or Temp\ 9 .TEMP\.
    const std::size_t room = 259 - 44 - 9 - 11;
    const std::wstring longest(room, L'n');
    const struct {
        std::vector<AppEntry> entries;
        const char *start, *expected;  // null: fits
    } cases[] = {
        {{{L"a", true}, {L"a/b.txt"}, {L"a/.hidden"}, {L"ä b"}}, nullptr, nullptr},
        {{{longest}}, nullptr, nullptr},
        {{{longest + L"n"}}, "error: nnn", "has 196 characters; expected at most 195"},
        {{{longest.substr(12), true}}, nullptr, nullptr},
        {{{longest.substr(11), true}}, "error: nnn", "184 characters; expected at most 183"},
        {{{L"a/CON"}}, "error: a/CON: ", "device"},
        {{{L"lpt0.txt"}}, "error: lpt0.txt: ", "device"},
        {{{L"conin$"}}, "error: conin$: ", "device"},
        {{{L"a/dot."}}, "error: a/dot.: ", "no full stop"},
        {{{L"a/blank "}}, "error: a/blank : ", "no blank"},
        {{{L"a:b"}}, "error: a:b: ", "none of < >"},
        {{{L"a\\b"}}, "error: a\\b: ", "none of < >"},
        {{{L"a\x1f"}}, "error: a\x1f: ", "control"},
        {{{L"l", false, true}}, "error: l: ", "is a link"},
        {{{L"Ärger/a"}, {L"ärger/A"}}, "error: ärger/A: ", "the same to Windows as Ärger/a"},
        {{{L"a", false, false, 0xFFFFFFFE, 5}}, nullptr, nullptr},
        {{{L"a", false, false, 0xFFFFFFFF, 5}}, "error: a: ", "4 GiB"},
        {{{L"a", false, false, 9, 1u << 30}, {L"b", false, false, 9, (1u << 30) - 200}},
         nullptr,
         nullptr},
        {{{L"a", false, false, 9, 1u << 30}, {L"b", false, false, 9, 1u << 30}},
         "error: application: size: ",
         "about 2048 MiB"},
    };
    for (const auto& entry : cases) {
        Findings findings;
        CheckAppEntries(entry.entries, name, "1.2.3", findings);
        if (entry.start == nullptr)
            EXPECT_EQ(Lines(findings), "");
        else
            ExpectOnly(findings, entry.start, entry.expected);
    }
    // A longer version takes more room than the unpacking folder.
    Findings tooLong;
    CheckAppEntries({{longest}}, name, "10.20.30", tooLong);
    ExpectOnly(tooLong, "error: nnn", "expected at most 192");
    std::vector<AppEntry> many;
    for (unsigned i = 0; i < 65535; ++i)
        many.push_back({std::to_wstring(i)});
    Findings findings;
    CheckAppEntries(many, name, "1.2.3", findings);
    ExpectOnly(findings, "error: application: entries: ", "are 65535");
}

TEST(App, Checks) {
    const std::string program = Read(FromHostPath(Widen(SAMPLE_BASE)));
    const auto programFor = [&program](unsigned short machine) {
        std::string other = program;
        std::memcpy(&other[*reinterpret_cast<const unsigned*>(&program[0x3c]) + 4], &machine, 2);
        return other;
    };
    const char *package = "error: resources/app/package.json: ", *three = "three numbers up to 999";
    const std::vector<std::string> both = {"x64", "ia32"};
    const struct {
        const wchar_t* file;
        std::string content;  // "-": taken away
        std::vector<std::string> architectures;
        std::string start;  // empty: fits
        const char* expected;
    } cases[] = {
        {L"Ä BStarter.exe", "-", {}, "error: Ä BStarter.exe: ", "expected the starter"},
        {L"Ä BStarter.exe", "MZ", {}, "error: Ä BStarter.exe: ", "no Windows program"},
        {L"Ä BStarter.exe", programFor(0x8664), {"x64"}, "", ""},
        {L"Ä BStarter.exe", programFor(0x8664), both, "error: Ä BStarter.exe: ", "64-bit program"},
        {L"Ä BStarter.exe", programFor(0xaa64), {}, "error: Ä BStarter.exe: ", "another processor"},
        {L"syspin.exe", "-", {}, "error: syspin.exe: ", "expected the pin tool"},
        {L"uninstall.exe", "text", {}, "error: uninstall.exe: ", "no Windows program"},
        {L"Ä B.exe", "-", {"x64"}, "warning: Ä B.exe: ", "waits for"},
        {L"resources\\app\\package.json", "-", {}, package, "cannot be read"},
        {L"resources\\app\\package.json", "[]", {}, package, "no JSON object"},
        {L"resources\\app\\package.json", "{}", {}, package, "version: is missing"},
        {L"resources\\app\\package.json", "{\"version\": 5}", {}, package, "version: is missing"},
        {L"resources\\app\\package.json", "\xEF\xBB\xBF{\"version\":\"0.10.999\"}", {}, "", ""},
        {L"resources\\app\\package.json",
         R"({"version":"1.2.3","windows":[]})",
         {},
         package,
         "no such key"},
        {L"resources\\app\\package.json", R"({"version":"1.2"})", {}, package, three},
        {L"resources\\app\\package.json", R"({"version":"1.2.3.4"})", {}, package, three},
        {L"resources\\app\\package.json", R"({"version":"1.2.3-beta"})", {}, package, three},
        {L"resources\\app\\package.json", R"({"version":"1.02.3"})", {}, package, three},
        {L"resources\\app\\package.json", R"({"version":"1.2.1000"})", {}, package, three},
        {L"resources\\app\\package.json", R"({"version":"1..3"})", {}, package, three},
    };
    for (const auto& entry : cases) {
        const ScratchFolder folder;
        for (const wchar_t* name : {L"Ä BStarter.exe", L"Ä B.exe", L"syspin.exe"})
            WriteFileText(folder / name, program);
        WriteFileText(folder / L"resources\\app\\package.json", R"({"version":"1.2.3"})");
        if (entry.content == "-")
            EXPECT_TRUE(DeleteFileW((folder / entry.file).c_str()));
        else
            WriteFileText(folder / entry.file, entry.content);
        Findings findings;
        ReadAppFolder(folder.path, L"Ä B", entry.architectures, findings);
        if (entry.start.empty())
            EXPECT_EQ(Lines(findings), "");
        else
            ExpectOnly(findings, entry.start, entry.expected);
    }
}

TEST(App, UnreadableFileAndMissingFolderAreTold) {
    const ScratchFolder folder;
    WriteFileText(folder / L"deep\\held.bin", "x");
    const HeldOpen held(folder / L"deep\\held.bin");
    Findings findings;
    ReadAppFolder(folder.path, L"A", {}, findings);
    EXPECT_NE(Lines(findings).find("deep/held.bin: cannot be opened"), std::string::npos)
        << Lines(findings);
    findings.clear();
    ReadAppFolder(folder / L"none", L"A", {}, findings);
    ASSERT_EQ(findings.size(), 1u) << Lines(findings);
    EXPECT_NE(Lines(findings).find("is no folder"), std::string::npos) << Lines(findings);
}

TEST(Lists, Manifest) {
    const ArchiveOffer x64 = {"x64", "u64", "", "h64"}, ia32 = {"ia32", "u32", "v32", "h32"};
    const std::string entry64 = R"({"url":"u64","arch":"x64","hash":"h64"})";
    const std::string entry32 = R"({"url":"u32","altUrl":"v32","arch":"ia32","hash":"h32"})";
    const std::string other = R"({"arch":"arm64","url":"z","note":1})";
    const std::string old = R"({"arch":"x64","url":"old","altUrl":"old","hash":"old"})";
    const std::string file = "error: download/win/manifest.json: ";
    const struct {
        std::string existing;
        std::vector<ArchiveOffer> offers;
        std::string windows;  // empty: not looked at
        std::string start, expected;
    } cases[] = {
        {"", {x64}, entry64, "", ""},
        {"", {x64, ia32}, entry32 + "," + entry64, "", ""},
        {R"({"version":"1.2.3","windows":[)" + entry64 + "]}",
         {ia32},
         entry32 + "," + entry64,
         "",
         ""},
        {R"({"version":"1.2.3","windows":[)" + old + "," + other + "]}",
         {x64},
         other + "," + entry64,
         "",
         ""},
        {R"({"version":"1.2.3"})", {x64}, entry64, "", ""},
        {R"({"version":"1.2.2","windows":[)" + other + "]}", {x64}, entry64, "", ""},
        {R"({"version":"1.10.0","windows":[)" + other + "]}",
         {x64},
         entry64,
         "warning: download/win/manifest.json: version: ",
         "is 1.10.0 already"},
        {"[]", {x64}, "", file, "no JSON object"},
        {"{", {x64}, "", file, "no JSON object"},
        {"{}", {x64}, "", file + "version", "is missing"},
        {R"({"version":"1.2.3","windows":"x"})", {x64}, "", file + "windows", "an array"},
        {R"({"version":"1.2.3","windows":[{"arch":5}]})", {x64}, "", file + "windows", "an array"},
    };
    for (const auto& entry : cases) {
        Findings findings;
        const std::string text = MergeManifest(entry.existing, "1.2.3", entry.offers, findings);
        if (entry.start.empty())
            EXPECT_EQ(Lines(findings), "");
        else
            ExpectOnly(findings, entry.start, entry.expected);
        if (!entry.windows.empty()) {
            EXPECT_EQ(
                nlohmann::json::parse(text),
                nlohmann::json::parse(R"({"version":"1.2.3","windows":[)" + entry.windows + "]}"));
        }
    }
    // What a team added by hand stays with its version.
    Findings findings;
    const std::string kept =
        MergeManifest(R"({"version":"1.2.3","notes":"x"})", "1.2.3", {x64}, findings);
    EXPECT_EQ(nlohmann::json::parse(kept)["notes"], "x");
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
