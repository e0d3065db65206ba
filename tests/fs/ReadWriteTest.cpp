#include <gtest/gtest.h>

#include "fs/FilePrimitives.h"
#include "support/Replace.h"
#include "support/Scratch.h"

namespace {

using namespace std::string_literals;

std::string Text(std::size_t length) {
    std::string text;
    while (text.size() < length) {
        text += static_cast<char>('a' + text.size() % 23);
    }
    return text;
}

}  // namespace

TEST(ReadTextFile, ReadsBlockByBlock) {
    const std::string mark = "\xEF\xBB\xBF";
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {Text(1023), Text(1023)},
        {Text(1024), Text(1024)},
        {Text(1025), Text(1025)},
        {Text(2048), Text(2048)},
        {mark, ""},
        {mark + Text(3000), Text(3000)},
        {mark + mark, mark},
        {"\xEF\xBBx", "\xEF\xBBx"},
        {Text(1024) + mark + "x", Text(1024) + mark + "x"},
        {Text(10) + "\0"s + Text(1013) + "next", Text(10) + "next"},
        {Text(1024) + "ab\0cd"s, Text(1024) + "ab"},
    };
    const ScratchFolder folder;
    std::string content = "before";
    EXPECT_EQ(ReadTextFile(folder / L"none", content), 0);
    EXPECT_EQ(content, "");
    for (const auto& [written, expected] : cases) {
        SCOPED_TRACE(written.size());
        WriteFileText(folder / L"file", written);
        EXPECT_EQ(ReadTextFile(folder / L"file", content), 0);
        EXPECT_EQ(content, expected);
        EXPECT_TRUE(DeleteFileW((folder / L"file").c_str())) << "still open";
    }
}

TEST(ReadTextFile, SharesTheFileWithNobody) {
    const ScratchFolder folder;
    WriteFileText(folder / L"file", "x");
    // One that would let others in.
    const HANDLE reader = CreateFileW((folder / L"file").c_str(), GENERIC_READ, 7, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    std::string content = "before";
    const LogCapture log;
    EXPECT_EQ(ReadTextFile(folder / L"file", content), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(content, "");
    EXPECT_EQ(log.Lines(), L"");
    CloseHandle(reader);
}

TEST(ReadTextFile, KeepsWhatCameBeforeAFailedRead) {
    const ScratchFolder folder;
    WriteFileText(folder / L"file", Text(3000));
    int reads = 0;
    const auto read = Replace("kernel32.dll", "ReadFile", ReadFile, [&](auto real, auto... given) {
        return ++reads == 2 ? FALSE : real(given...);
    });
    std::string content;
    EXPECT_EQ(ReadTextFile(folder / L"file", content), 0);
    EXPECT_EQ(content, Text(1024));
}

TEST(WriteBufferToFile, ReplacesTheFileOrLeavesTheLastError) {
    const ScratchFolder folder;
    for (const std::string& content : {"long content"s, "a\0b"s, ""s}) {
        EXPECT_EQ(WriteBufferToFile(content.data(), content.size(), folder / L"file"), 0);
        EXPECT_EQ(ReadFileText(folder / L"file"), content);
    }
    const LogCapture log;
    EXPECT_EQ(WriteBufferToFile("x", 1, folder / L"no\\file"), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    {
        const auto write = Replace("kernel32.dll", "WriteFile", WriteFile, [](auto, auto...) {
            SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
        const auto close =
            Replace("kernel32.dll", "CloseHandle", CloseHandle, [](auto real, HANDLE handle) {
                const BOOL done = real(handle);
                SetLastError(ERROR_SUCCESS);
                return done;
            });
        const int result = WriteBufferToFile("x", 1, folder / L"file");
        const DWORD error = GetLastError();
        EXPECT_EQ(result, -1);
        EXPECT_EQ(error, DWORD{ERROR_DISK_FULL});
    }
    EXPECT_TRUE(DeleteFileW((folder / L"file").c_str())) << "still open";
    EXPECT_EQ(log.Lines(), L"");
}
