#include "base/PathBuffers.h"
#include "services/SelfDelete.h"
#include "services/Shortcut.h"
#include "support/Replace.h"
#include "support/Scratch.h"

// This Windows keeps no such property; the link's other content is seen in the scenarios.
TEST(CreateShortCut, SetsTheAppId) {
    const ScratchFolder scratch;
    const LogCapture log;
    SetPath(programsShortcutPath, scratch / L"Name.lnk");
    EXPECT_EQ(CreateShortCut(L"C:\\a.exe", L"C:\\a.exe", nullptr, L"", L"Name"), S_OK);
    EXPECT_TRUE(log.Has(L"CreateShortCut: SetAppId [Name] result: "));
    EXPECT_TRUE(Exists(programsShortcutPath));
}

// What the script does is seen in the scenarios.
TEST(SelfDelete, MovesAFileToAPlainNameForTheScript) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    const std::wstring id = std::to_wstring(GetCurrentProcessId());
    const std::wstring moved = L"lumentra.selfdel." + id + L".exe";
    const struct {
        std::wstring name, file, end;  // before, for the script, afterwards
        bool starts, isHeld;           // the script, the new name
    } cases[] = {
        {L"x.exe", scratch / L"x.exe", L"x.exe", true, false},
        {L"A & B.exe", scratch / moved, moved, true, false},
        {L"\x3000.exe", scratch / moved, moved, true, false},
        {L"A & B.exe", scratch / moved, L"A & B.exe", false, false},
        {L"A & B.exe", L"", L"A & B.exe", true, true},
    };
    for (const auto& [name, file, end, starts, isHeld] : cases) {
        std::wstring started;
        const Replaced start = Replace(CreateProcessW, [&](auto, auto, LPWSTR line, auto...) {
            started = line;
            return BOOL{starts};
        });
        WriteFileText(scratch / name, "of this run");
        WriteFileText(scratch / moved, "left by another one with this id");
        WriteFileText(scratch / L"other", "");
        {
            const HeldOpen holder(scratch / (isHeld ? moved : L"other"));
            SelfDelete((scratch / name).c_str());
        }
        EXPECT_EQ(started, file.empty() ? L""
                                        : L"\"" + (scratch / L"lumentra.selfdel.cmd") + L"\" " +
                                              id + L" \"" + file + L"\" >nul 2>nul");
        EXPECT_EQ(ReadFileText(scratch / end), "of this run") << started;
    }
}
