#include <array>
#include <sstream>

#include "diagnostics/ErrorReport.h"
#include "diagnostics/ProcessSection.h"
#include "diagnostics/SystemInfo.h"
#include "support/Replace.h"

TEST(PercentEncode, LeavesOnlyTheUnreservedBytes) {
    EXPECT_EQ(PercentEncode(L"azAZ09-_.~ \n\"\\+%/:@[`{\x7f\u0423\xD83D\xDE00"),
              L"azAZ09-_.~%20%0a%22%5c%2b%25%2f%3a%40%5b%60%7b%7f%d0%a3%f0%9f%98%80");
}

TEST(FormatProcessTree, PrintsChildrenBelowParentsAndRowsOfSiblingsOnce) {
    // Name, id and parent of each process.
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"", L""},
        // Sorted by id.
        {L"b 4294967295 4 s 4 0", L"0 4 s (p)\n  4 4294967295 b (p)\n"},
        // Siblings of a name, another one between.
        {L"r 1 0 a 2 1 a 3 1 a 4 1 b 5 1 a 6 1 A 7 1",
         L"0 1 r (p)\n  1 2 a (p)\n  1 5 b (p)\n  1 6 a (p)\n  1 7 A (p)\n"},
        // Children of a sibling that shows no line, and of one name with their parent.
        {L"r 1 0 a 2 1 a 3 1 a 4 3", L"0 1 r (p)\n  1 2 a (p)\n    3 4 a (p)\n"},
        // Orphans are roots, a row of one name among them, the first process not counted.
        {L"o 1 0 o 2 99 o 3 98 c 4 3 p 5 97", L"0 1 o (p)\n99 2 o (p)\n  3 4 c (p)\n97 5 p (p)\n"},
        // The idle process is nobody's child, and processes below each other are no roots.
        {L"i 0 0 s 4 0 x 5 6 y 6 5 z 7 7", L"0 0 i (p)\n  0 4 s (p)\n"},
        {L"x 1 2 y 2 1", L"2 1 x (p)\n  1 2 y (p)\n"},
    };
    for (const auto& [listed, text] : cases) {
        std::wistringstream reader(listed);
        std::vector<ProcessEntry> processes;
        for (ProcessEntry next{L"p", L"", 0, 0};
             reader >> next.exeName >> next.pid >> next.parentPid;) {
            processes.push_back(next);
        }
        EXPECT_EQ(FormatProcessTree(processes), text);
    }
}

TEST(SystemInfo, FindsTheHighestVersionThatHolds) {
    using Version = std::array<DWORD, 3>;  // major, minor, service pack
    Version system;
    const Replaced compare = Replace(VerifyVersionInfoW, [&](auto, auto* wanted, DWORD mask, auto) {
        EXPECT_EQ(mask, 0x23u);
        return BOOL{system >= Version{wanted->dwMajorVersion, wanted->dwMinorVersion,
                                      wanted->wServicePackMajor}};
    });
    for (const auto& [is, found] : {std::pair(Version{6, 1, 1}, L"windows 6.1.1 "),
                                    {{5, 2, 9}, L"windows 5.2.5 "},
                                    {{13, 0, 0}, L"windows 12.10.5 "}}) {
        system = is;
        EXPECT_TRUE(GetOsInfo().starts_with(found)) << GetOsInfo();
    }
}
