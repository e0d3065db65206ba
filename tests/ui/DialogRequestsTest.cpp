#include "ui/DialogRequests.h"

#include <commctrl.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include "startup/GlobalVars.h"
#include "ui/Boxes.h"
#include "ui/FakeResource.h"

namespace {

BOOL isAdmin;
BOOL elevates;
std::wstring elevated;
int pressed;
std::wstring dialog;

BOOL WINAPI TellMembership(HANDLE, PSID, PBOOL isMember) {
    *isMember = isAdmin;
    return TRUE;
}

BOOL WINAPI Elevate(SHELLEXECUTEINFOW* execute) {
    elevated = std::wstring(execute->lpVerb) + L" " + execute->lpParameters;
    SetLastError(ERROR_CANCELLED);
    return elevates;
}

LRESULT WINAPI NoteShield(HWND, UINT message, WPARAM button, LPARAM isShown) {
    if (message == TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE && isShown == 1) {
        dialog += L"|shield " + std::to_wstring(button);
    }
    return 0;
}

HRESULT WINAPI ShowTaskDialog(const TASKDIALOGCONFIG* config, int* button, int*, BOOL*) {
    dialog = std::wstring(config->pszWindowTitle) + L"|" + config->pszContent + L"|" +
             std::to_wstring(config->dwCommonButtons) + L"|" +
             std::to_wstring(LOWORD(config->pszMainIcon)) + L"|" +
             std::to_wstring(config->cButtons) + L": " +
             std::to_wstring(config->pButtons[0].nButtonID) + L" " +
             config->pButtons[0].pszButtonText + L"|" + std::to_wstring(config->nDefaultButton);
    EXPECT_EQ(config->cbSize, sizeof *config);
    EXPECT_EQ(config->hwndParent, reinterpret_cast<HWND>(0x1234));
    const ImportPatch send("user32.dll", "SendMessageW", AsProc(&NoteShield));
    EXPECT_EQ(config->pfCallback(nullptr, TDN_DESTROYED, 0, 0, 0), S_OK);
    EXPECT_EQ(config->pfCallback(nullptr, TDN_CREATED, 0, 0, 0), S_OK);
    if (pressed == 0) {
        return E_FAIL;
    }
    *button = pressed;
    return S_OK;
}

class DialogRequests : public testing::Test {
  protected:
    const HWND window = reinterpret_cast<HWND>(0x1234);
    FakeResource texts{L"TEXTS", &NumberedTexts()};
    Boxes boxes{IDRETRY};
    ImportPatch membership{"advapi32.dll", "CheckTokenMembership", AsProc(&TellMembership)};
    ImportPatch execute{"shell32.dll", "ShellExecuteExW", AsProc(&Elevate)};
    ImportPatch taskDialog{"comctl32.dll", "TaskDialogIndirect", AsProc(&ShowTaskDialog)};
    GlobalVars vars;
};

}  // namespace

TEST_F(DialogRequests, ABoxServesAllButTheLockedTargetWithoutRights) {
    const struct {
        BOOL isAdmin;
        DialogRequest request;
        const wchar_t* box;
    } cases[] = {
        {FALSE, {18, 0, 0x21}, L"text 18|text 0|21|"},
        {TRUE, {18, 3, 0x40}, L"text 18|text 3|40|"},
        {TRUE, {15, 3, 5}, L"text 15|text 0|35|"},
    };
    dialog.clear();
    for (const auto& row : cases) {
        isAdmin = row.isAdmin;
        boxes.shown.clear();
        EXPECT_EQ(AnswerDialogRequest(window, vars, row.request), IDRETRY);
        EXPECT_EQ(boxes.shown, row.box);
        EXPECT_EQ(boxes.owner, window);
    }
    EXPECT_EQ(dialog, L"");
}

TEST_F(DialogRequests, ALockedTargetIsOfferedWithAnElevatedCopy) {
    const struct {
        int pressed;
        BOOL elevates;
        int answer;
        bool startedBefore;
        bool startedAfter;
    } cases[] = {
        {1, TRUE, IDCANCEL, false, true},
        {1, FALSE, IDCANCEL, true, false},
        {4, TRUE, IDRETRY, false, false},
        {2, TRUE, IDCANCEL, false, false},
        // The dialog fails.
        {0, TRUE, 0, false, false},
    };
    isAdmin = FALSE;
    for (const auto& row : cases) {
        pressed = row.pressed;
        elevates = row.elevates;
        elevated.clear();
        vars.elevatedCopyStarted = row.startedBefore;
        EXPECT_EQ(AnswerDialogRequest(window, vars, {15, 0, 5}), row.answer);
        EXPECT_EQ(dialog, L"text 0|text 15|24|65535|1: 1 text 16|4|shield 1");
        EXPECT_EQ(vars.elevatedCopyStarted, row.startedAfter);
        EXPECT_EQ(elevated.find(L"runas --runas "), pressed == 1 ? 0 : std::wstring::npos);
    }
    EXPECT_EQ(boxes.shown, L"");
}
