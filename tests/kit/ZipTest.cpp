#include <windows.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ZipReader.h"
#include "kit/Files.h"
#include "kit/ZipWriter.h"
#include "Samples.h"
#include "support/Scratch.h"

namespace {

constexpr std::size_t piece = 512 << 10;
constexpr std::uint64_t day = 864000000000;
// 1 January 1980 and 1601 in 100 ns units since 1601.
constexpr std::uint64_t earliest = 138426 * day, beforeAll = 5;

std::string Text(std::size_t length) {
    std::string text;
    for (unsigned i = 0; text.size() < length; ++i)
        text += "line " + std::to_string(i * 2654435761u % 9973) + "\n";
    text.resize(length);
    return text;
}

struct Sample {
    std::string name, content;
    std::uint64_t written;
    bool isDeflated;
    std::uint16_t date, time;  // as MS-DOS has them
};

/// Reads what an unpacker gets, in the archive's order.
std::vector<ZipEntry> ReadArchive(const std::string& bytes, std::vector<std::string>& contents) {
    std::vector<ZipEntry> entries;
    const Bytes archive = {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
    EXPECT_EQ(ReadEntries(archive, entries), ZipResult::ok);
    for (const ZipEntry& entry : entries) {
        std::string content;
        EXPECT_EQ(UnpackEntry(entry,
                              [&content](Bytes got) {
                                  content.append(got.begin(), got.end());
                                  return true;
                              }),
                  ZipResult::ok);
        contents.push_back(content);
    }
    return entries;
}

TEST(Zip, UnpacksToWhatWentIn) {
    const ScratchFolder folder;
    const std::uint64_t noon = earliest + 366 * day + day / 2 + 70000000;  // 7 s past
    const std::uint16_t noonDate = 1 << 9 | 1 << 5 | 1, noonTime = 12 << 11 | 3;
    const std::uint16_t firstDate = 1 << 5 | 1;
    const Sample samples[] = {
        // Sorted by the bytes of their names.
        {"A.txt", "one", earliest, true, firstDate, 0},
        {"empty/", "", noon, false, noonDate, noonTime},
        {"folder/empty.txt", "", beforeAll, false, firstDate, 0},
        {"folder/noise", Noise(3 * piece + 1), noon, false, noonDate, noonTime},
        {"folder/piece", Text(piece), noon, true, noonDate, noonTime},
        {"folder/pieces", Text(2 * piece), noon, true, noonDate, noonTime},
        {"folder/repeated", std::string(piece - 16000, 'z') + Noise(16000) + Noise(16000), noon,
         true, noonDate, noonTime},
        {"folder/text", Text(5 * piece - 1), noon, true, noonDate, noonTime},
        {"half", Noise(2 * piece) + Text(2 * piece), noon, true, noonDate, noonTime},
        {"small noise", Noise(1000), noon, true, noonDate, noonTime},
        {"Ünï 例/😀.txt", Text(100), noon, true, noonDate, noonTime},
    };
    std::vector<ZipItem> items;
    for (std::size_t i = 0; i < std::size(samples); ++i) {
        const std::wstring source = folder / L"file" + std::to_wstring(i);
        WriteFileText(source, samples[i].content);
        items.insert(items.begin(), {samples[i].name, source, samples[i].written});
    }
    ASSERT_EQ(WriteZip(folder / L"a.zip", items), "");
    const std::string archive = Read(folder / L"a.zip");
    std::vector<std::string> contents;
    const std::vector<ZipEntry> entries = ReadArchive(archive, contents);
    ASSERT_EQ(entries.size(), std::size(samples));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Sample& sample = samples[i];
        std::wstring path = Widen(sample.name);
        for (wchar_t& c : path)
            c = c == L'/' ? L'\\' : c;
        const bool isFolder = path.back() == L'\\';
        if (isFolder)
            path.pop_back();
        EXPECT_EQ(std::wstring(entries[i].path.begin(), entries[i].path.end()), path);
        EXPECT_EQ(entries[i].isFolder, isFolder) << sample.name;
        EXPECT_EQ(entries[i].isDeflated, sample.isDeflated) << sample.name;
        EXPECT_TRUE(contents[i] == sample.content) << sample.name;
        EXPECT_EQ(entries[i].dosDate, sample.date) << sample.name;
        EXPECT_EQ(entries[i].dosTime, sample.time) << sample.name;
        // What stands behind the cut refers to what stands in front of it.
        if (sample.name == "folder/repeated") {
            EXPECT_LT(entries[i].packed.size(), 25000u);
        }
    }
    ASSERT_EQ(WriteZip(folder / L"b.zip", items), "");
    EXPECT_TRUE(Read(folder / L"b.zip") == archive) << "the same files gave another archive";
}

TEST(Zip, SaysWhatFailed) {
    const ScratchFolder folder;
    WriteFileText(folder / L"held", "x");
    const HeldOpen held(folder / L"held");
    const std::wstring out = folder / L"a.zip";
    const auto expect = [](const std::string& wrong, const char* part) {
        EXPECT_NE(wrong.find(part), std::string::npos) << wrong;
    };
    expect(WriteZip(out, {{"a", folder / L"none", 0}}), "none: cannot be opened");
    expect(WriteZip(out, {{"a", folder / L"held", 0}, {"b", folder / L"x", 0}}), "held: cannot be");
    expect(WriteZip(folder / L"no\\a.zip", {{"a/", L"", 0}}), "a.zip: cannot be made");
    expect(WriteZip(out, std::vector<ZipItem>(65535, {"a/", L"", 0})), "65535 entries");
}

}  // namespace
