#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "operations/Progress.h"
#include "startup/GlobalVars.h"
#include "support/FailingCall.h"
#include "support/HttpInbox.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"
#include "ui/DialogRequests.h"
#include "ui/Fakes.h"
#include "ui/OperationEnd.h"

namespace {

const HWND window = reinterpret_cast<HWND>(0x1234);

class Dialogs : public testing::Test {
  protected:
    const std::string table = NumberedTexts();
    const FakeResource texts{L"TEXTS", &table};
    Boxes boxes{IDRETRY};
    GlobalVars vars;
};

}  // namespace

// How a question reaches the window's thread is seen with the real window, in the scenarios.
TEST_F(Dialogs, WhatCannotBeAskedIsRefused) {
    const auto expectRefusal = [](HWND owner, const std::wstring& call, DWORD error) {
        const LogCapture log;
        EXPECT_EQ(ShowDialog(15, 5, owner), IDCANCEL);
        EXPECT_EQ(log.Lines(),
                  L"ERROR Utils ShowDialog: " + call + L" error: " + ErrorText(error) + L"\n");
        EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"LM_FS_ERROR_MESSAGE_EVENT"), nullptr)
            << "left open";
    };
    const HWND foreign = GetDesktopWindow();
    expectRefusal(reinterpret_cast<HWND>(0x7ffffff0), L"SendMessageCallback",
                  ERROR_INVALID_WINDOW_HANDLE);
    {
        const FailingCall noEvent("kernel32.dll", "CreateEventW", &CreateEventW, nullptr);
        expectRefusal(foreign, L"CreateEvent", ERROR_NOT_ENOUGH_MEMORY);
        // This thread's own window needs none.
        const HWND own = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                         nullptr, nullptr);
        EXPECT_EQ(ShowDialog(18, 0x21, own), IDRETRY);
        EXPECT_EQ(boxes.shown, L"text 18|text 0|21|");
        EXPECT_EQ(boxes.owner, own);
        DestroyWindow(own);
    }
    const FailingCall noPost("user32.dll", "PostMessageW", &PostMessageW, TRUE);
    const FailingCall noWait("kernel32.dll", "WaitForSingleObject", &WaitForSingleObject,
                             WAIT_FAILED);
    expectRefusal(foreign, L"WaitForSingleObject", ERROR_NOT_ENOUGH_MEMORY);
}

TEST_F(Dialogs, ALockedTargetIsOfferedWithAnElevatedCopy) {
    BOOL isAdmin = TRUE, elevates = TRUE;
    int pressed = 0;
    std::wstring shields;
    const auto tellMembership = [&](auto, auto, auto, BOOL* isMember) {
        *isMember = isAdmin;
        return TRUE;
    };
    const auto noteShield = [&](auto, HWND, UINT message, WPARAM button, LPARAM isShown) {
        if (message == TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE && isShown == 1) {
            shields += std::to_wstring(button);
        }
        return LRESULT{0};
    };
    const auto show = [&](auto, const TASKDIALOGCONFIG* config, int* button, auto...) {
        EXPECT_EQ(config->pszMainIcon, TD_WARNING_ICON);
        const Replaced send = Replace("user32.dll", "SendMessageW", SendMessageW, noteShield);
        EXPECT_EQ(config->pfCallback(nullptr, TDN_DESTROYED, 0, 0, 0), S_OK);
        EXPECT_EQ(shields, L"");
        EXPECT_EQ(config->pfCallback(nullptr, TDN_CREATED, 0, 0, 0), S_OK);
        *button = pressed;
        return pressed == 0 ? E_FAIL : S_OK;
    };
    const Replaced replaced[] = {
        Replace("advapi32.dll", "CheckTokenMembership", CheckTokenMembership, tellMembership),
        Replace("shell32.dll", "ShellExecuteExW", ShellExecuteExW,
                [&](auto, auto) { return elevates; }),
        Replace("comctl32.dll", "TaskDialogIndirect", TaskDialogIndirect, show)};
    EXPECT_EQ(AnswerDialogRequest(window, vars, {15, 3, 5}), IDRETRY);
    isAdmin = FALSE;
    EXPECT_EQ(AnswerDialogRequest(window, vars, {18, 0, 0x21}), IDRETRY);
    EXPECT_EQ(boxes.shown, L"text 15|text 0|35|text 18|text 0|21|");
    EXPECT_EQ(boxes.owner, window);
    EXPECT_EQ(shields, L"");
    const struct {
        int pressed;
        BOOL elevates;
        int answer;
        bool startedBefore, startedAfter;
    } cases[] = {{1, TRUE, IDCANCEL, false, true},
                 {1, FALSE, IDCANCEL, true, false},
                 // The dialog fails.
                 {0, TRUE, 0, false, false}};
    for (const auto& row : cases) {
        pressed = row.pressed;
        elevates = row.elevates;
        shields.clear();
        vars.elevatedCopyStarted = row.startedBefore;
        EXPECT_EQ(AnswerDialogRequest(window, vars, {15, 0, 5}), row.answer);
        EXPECT_EQ(shields, L"1");
        EXPECT_EQ(vars.elevatedCopyStarted, row.startedAfter);
    }
}

// All other ends are seen in the scenarios.
TEST_F(Dialogs, AnElevatedCopySilencesNeitherTheOfferNorAnUninstall) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    HttpInbox inbox;
    vars.serverHost = L"127.0.0.1";
    vars.serverPort = inbox.port;
    vars.offlineInstallerUrl = L"http://page/?app=a&arch=";
    vars.elevatedCopyStarted = true;
    ErrorReport sender;
    sender.vars = &vars;
    CProgressObject progress;
    std::wstring page;
    const Replaced start =
        Replace("kernel32.dll", "CreateProcessW", CreateProcessW,
                [&](auto, LPCWSTR, LPWSTR commandLine, auto, auto, BOOL, DWORD flags, auto...) {
                    page = commandLine;
                    EXPECT_EQ(flags, DWORD{CREATE_NO_WINDOW});
                    return FALSE;
                });
    const struct {
        int operation, errorCode, answer;
        const wchar_t* box;
        const wchar_t* page;
    } cases[] = {
        {OperationInstall, 1, IDOK, L"text 17|text 0|21|",
         L"\"cmd.exe\" /c start http://page/?app=a^&arch=x64"},
        {OperationInstall, 1, IDCANCEL, L"text 17|text 0|21|", L""},
        {OperationInstall, 7, IDOK, L"", L""},
        {OperationUninstall, 0, IDOK, L"text 2|text 0|40|", L""},
        {OperationUninstall, 11, IDOK, L"text 12|text 0|10|", L""},
        {OperationUpdate, 9, IDOK, L"", L""},
    };
    std::size_t reports = 0;
    boxes.whileOpen = [&] { EXPECT_EQ(inbox.Requests().size(), reports) << "report, then box"; };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.operation << " ends with " << row.errorCode);
        boxes.answer = row.answer;
        boxes.shown = page = L"";
        reports += row.errorCode != 0 && row.box[0] != 0;
        progress.errorCode = row.errorCode;
        FinishOperation(window, vars, progress, sender, row.operation);
        EXPECT_EQ(inbox.Requests().size(), reports);
        EXPECT_EQ(boxes.shown, row.box);
        EXPECT_EQ(page, row.page);
    }
    EXPECT_EQ(boxes.owner, window);
    const FailingCall noBitness("kernel32.dll", "GetProcAddress", &GetProcAddress, nullptr);
    OpenFullInstallerPage(vars);
    EXPECT_TRUE(page.ends_with(L"x32"));
}
