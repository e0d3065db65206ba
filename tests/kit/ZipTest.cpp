#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ZipReader.h"
#include "kit/Files.h"
#include "kit/ZipWriter.h"
#include "Samples.h"
#include "support/Scratch.h"

namespace {

constexpr std::size_t piece = 512 << 10;

std::string Text(std::size_t length) {
    std::string text;
    for (unsigned i = 0; text.size() < length; ++i)
        text += "line " + std::to_string(i * 2654435761u % 9973) + "\n";
    text.resize(length);
    return text;
}

/// What an unpacker gets of an entry.
std::string Unpack(const ZipEntry& entry) {
    std::string content;
    EXPECT_EQ(UnpackEntry(entry,
                          [&content](Bytes got) {
                              content.append(got.begin(), got.end());
                              return true;
                          }),
              ZipResult::ok);
    return content;
}

TEST(Zip, UnpacksToWhatWentIn) {
    // In 100 ns units since 1601: 1 January 1980, and noon a year and a day later, 7 s past.
    constexpr std::uint64_t day = 864000000000, earliest = 138426 * day, beforeAll = 5;
    constexpr std::uint64_t noon = earliest + 366 * day + day / 2 + 70000000;
    const struct {
        std::string name, content;
        bool isDeflated;
        std::uint64_t written = noon;
    } samples[] = {
        // Sorted by the bytes of their names.
        {"A.txt", "one", true, earliest},
        {"empty/", "", false},
        {"folder/empty.txt", "", false, beforeAll},
        {"folder/noise", Noise(3 * piece + 1), false},
        {"folder/piece", Text(piece), true},
        {"folder/pieces", Text(2 * piece), true},
        {"folder/repeated", std::string(piece - 16000, 'z') + Noise(16000) + Noise(16000), true},
        {"folder/text", Text(5 * piece - 1), true},
        {"half", Noise(2 * piece) + Text(2 * piece), true},
        {"small noise", Noise(1000), true},
        {"Ünï 例/😀.txt", Text(100), true},
    };
    const ScratchFolder folder;
    std::vector<ZipItem> items;
    for (const auto& sample : samples) {
        const std::wstring source = folder / L"file" + std::to_wstring(items.size());
        WriteFileText(source, sample.content);
        items.insert(items.begin(), {sample.name, source, sample.written});
    }
    ASSERT_EQ(WriteZip(folder / L"a.zip", items), "");
    const std::string archive = Read(folder / L"a.zip");
    std::vector<ZipEntry> entries;
    ASSERT_EQ(ReadEntries({reinterpret_cast<const std::uint8_t*>(archive.data()), archive.size()},
                          entries),
              ZipResult::ok);
    ASSERT_EQ(entries.size(), std::size(samples));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& [name, content, isDeflated, written] = samples[i];
        std::wstring path(entries[i].path.begin(), entries[i].path.end());
        std::ranges::replace(path, L'\\', L'/');
        EXPECT_EQ(Narrow(path) + (entries[i].isFolder ? "/" : ""), name);
        EXPECT_EQ(entries[i].isDeflated, isDeflated) << name;
        EXPECT_TRUE(Unpack(entries[i]) == content) << name;
        EXPECT_EQ(entries[i].dosDate, (written == noon ? 1 << 9 : 0) | 1 << 5 | 1) << name;
        EXPECT_EQ(entries[i].dosTime, written == noon ? 12 << 11 | 3 : 0) << name;
        // What stands behind the cut refers to what stands in front of it.
        EXPECT_TRUE(name != "folder/repeated" || entries[i].packed.size() < 25000);
    }
    ASSERT_EQ(WriteZip(folder / L"b.zip", items), "");
    EXPECT_TRUE(Read(folder / L"b.zip") == archive) << "the same files gave another archive";
}

TEST(Zip, SaysWhatFailed) {
    const ScratchFolder folder;
    WriteFileText(folder / L"held", "x");
    const HeldOpen held(folder / L"held");
    const std::wstring out = folder / L"a.zip", nowhere = folder / L"no\\a.zip";
    const std::tuple<std::wstring, std::vector<ZipItem>, const char*> cases[] = {
        {out, {{"a", folder / L"none", 0}}, "none: cannot be opened"},
        {out, {{"a", folder / L"held", 0}, {"b", folder / L"x", 0}}, "held: cannot be"},
        {nowhere, {{"a/", L"", 0}}, "a.zip: cannot be made"},
        {out, std::vector<ZipItem>(65535, {"a/", L"", 0}), "65535 entries"}};
    for (const auto& [path, items, expected] : cases) {
        const std::string wrong = WriteZip(path, items);
        EXPECT_NE(wrong.find(expected), std::string::npos) << wrong;
    }
}

}  // namespace
