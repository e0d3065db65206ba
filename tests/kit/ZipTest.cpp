// The kit's archives, and the unpacking that stands in for the system's here.

#include "ZipReader.h"

#include <gtest/gtest.h>

#include <vector>

#include "kit/ZipWriter.h"
#include "Samples.h"

namespace {

constexpr std::size_t piece = 512 << 10;
using Contents = std::map<std::u16string, std::string>;

ZipResult ReadAll(const std::string& archive, std::vector<ZipEntry>& entries, Contents& contents) {
    entries.clear();
    contents.clear();
    ZipResult result = ReadEntries(
        {reinterpret_cast<const std::uint8_t*>(archive.data()), archive.size()}, entries);
    for (std::size_t i = 0; i < entries.size() && result == ZipResult::Ok; ++i)
        result = UnpackEntry(entries[i], [&content = contents[entries[i].path]](Bytes got) {
            content.append(got.begin(), got.end());
            return true;
        });
    return result;
}

TEST(Zip, UnpacksToWhatWentIn) {
    // In 100 ns units since 1601: noon on 1 January 1981, 7 s past.
    constexpr std::uint64_t day = 864000000000, noon = 138792 * day + day / 2 + 70000000;
    const struct {
        std::string name, content;
        bool isDeflated;
        std::uint64_t written = noon;
    } samples[] = {
        // Sorted by the bytes of their names.
        {"A.txt", "one", true, 138426 * day},
        {"empty/", "", false},
        {"folder/empty.txt", "", false, 5},
        {"folder/noise", Noise(3 * piece + 1), false},
        // What stands behind the cut refers to what stands in front of it.
        {"folder/repeated", std::string(piece - 16000, 'z') + Noise(16000) + Noise(16000), true},
        {"folder/text", Noise(5 * piece - 1, 15), true},
        {"half", Noise(2 * piece) + Noise(2 * piece, 15), true},
        {"Ünï 例/😀.txt", Noise(100, 1), true},
    };
    const ScratchFolder folder;
    std::vector<ZipItem> items;
    for (const auto& sample : samples) {
        const std::wstring source = folder / L"file" + std::to_wstring(items.size());
        WriteFileText(source, sample.content);
        items.insert(items.begin(), {sample.name, source, sample.written});
    }
    ASSERT_FALSE(WriteZip(folder / L"a.zip", items));
    const std::string archive = ReadFileText(folder / L"a.zip");
    std::vector<ZipEntry> entries;
    Contents contents;
    ASSERT_EQ(ReadAll(archive, entries, contents), ZipResult::Ok);
    ASSERT_EQ(entries.size(), std::size(samples));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& [name, content, isDeflated, written] = samples[i];
        std::wstring path(entries[i].path.begin(), entries[i].path.end());
        std::ranges::replace(path, L'\\', L'/');
        EXPECT_EQ(Narrow(path) + (entries[i].isFolder ? "/" : ""), name);
        EXPECT_TRUE(contents[entries[i].path] == content) << name;
        EXPECT_EQ(entries[i].isDeflated, isDeflated) << name;
        EXPECT_EQ(entries[i].dosDate, (written == noon ? 1 << 9 : 0) | 1 << 5 | 1) << name;
        EXPECT_EQ(entries[i].dosTime, written == noon ? 12 << 11 | 3 : 0) << name;
        EXPECT_TRUE(name != "folder/repeated" || entries[i].packed.size() < 25000);
    }
}

}  // namespace
