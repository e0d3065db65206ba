#include "ui/OperationEnd.h"

#include <gtest/gtest.h>

#include "operations/Progress.h"
#include "startup/GlobalVars.h"
#include "support/FailingCall.h"
#include "support/HttpInbox.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"
#include "ui/Boxes.h"
#include "ui/FakeResource.h"

namespace {

std::wstring started;
DWORD startFlags;

BOOL WINAPI RecordProcess(LPCWSTR, LPWSTR commandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES,
                          BOOL, DWORD flags, LPVOID, LPCWSTR, LPSTARTUPINFOW,
                          LPPROCESS_INFORMATION) {
    started = commandLine;
    startFlags = flags;
    return FALSE;
}

std::wstring OpenPage(const std::wstring& address) {
    const ImportPatch patch("kernel32.dll", "CreateProcessW", AsProc(&RecordProcess));
    GlobalVars vars;
    vars.offlineInstallerUrl = address;
    OpenFullInstallerPage(vars);
    return started;
}

}  // namespace

TEST(FinishOperation, SendsTheReportAndShowsTheBoxOfEachOutcome) {
    const FakeResource texts(L"TEXTS", &NumberedTexts());
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    HttpInbox inbox;
    GlobalVars vars;
    vars.serverHost = L"127.0.0.1";
    vars.serverPort = inbox.port;
    vars.offlineInstallerUrl = L"http://page/";
    ErrorReport sender;
    sender.vars = &vars;
    CProgressObject progress;
    progress.report.SetMessage(L"the-failure");

    const wchar_t* const installFailed = L"text 8|text 0|10|";
    const wchar_t* const uninstallFailed = L"text 12|text 0|10|";
    const wchar_t* const offer = L"text 17|text 0|21|";
    const struct {
        int operation;
        int errorCode;
        bool elevated;
        int answer;
        const wchar_t* box;
        bool isReported;
        bool opensPage;
    } cases[] = {
        {OperationInstall, 0, false, IDOK, L"", false, false},
        {OperationInstall, 5, false, IDOK, L"", false, false},
        {OperationInstall, 1, false, IDOK, offer, true, true},
        {OperationInstall, 1, true, IDCANCEL, offer, true, false},
        {OperationInstall, 2, false, IDOK, installFailed, true, false},
        {OperationInstall, 17, false, IDOK, installFailed, true, false},
        {OperationInstall, 7, true, IDOK, L"", false, false},
        {OperationUninstall, 0, false, IDOK, L"text 2|text 0|40|", false, false},
        {OperationUninstall, 11, false, IDOK, uninstallFailed, true, false},
        {OperationUninstall, 1, true, IDOK, uninstallFailed, true, false},
        {OperationUpdate, 0, false, IDOK, L"", false, false},
        {OperationUpdate, 1, false, IDOK, L"", true, false},
        {OperationUpdate, 9, true, IDOK, L"", false, false},
    };
    const ImportPatch createProcess("kernel32.dll", "CreateProcessW", AsProc(&RecordProcess));
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.operation << " ends with " << row.errorCode);
        Boxes boxes(row.answer);
        const std::size_t reports = inbox.Requests().size() + row.isReported;
        boxes.whileOpen = [&] {
            EXPECT_EQ(inbox.Requests().size(), reports) << "report, then box";
        };
        started.clear();
        vars.elevatedCopyStarted = row.elevated;
        progress.errorCode = row.errorCode;
        FinishOperation(reinterpret_cast<HWND>(0x1234), vars, progress, sender, row.operation);
        EXPECT_EQ(inbox.Requests().size(), reports);
        EXPECT_EQ(boxes.shown, row.box);
        EXPECT_EQ(boxes.owner, reinterpret_cast<HWND>(row.box[0] ? 0x1234 : 0));
        EXPECT_EQ(started.empty(), !row.opensPage);
    }
    for (const std::string& request : inbox.Requests()) {
        EXPECT_NE(request.find("{ \"message\": \"the-failure%20%3a%20"), std::string::npos);
    }
}

TEST(OpenFullInstallerPage, NamesTheArchitectureOfTheSystem) {
    EXPECT_EQ(OpenPage(L"http://page/"), L"\"cmd.exe\" /c start http://page/x64");
    EXPECT_EQ(startFlags, static_cast<DWORD>(CREATE_NO_WINDOW));
    const FailingCall noBitness("kernel32.dll", "GetProcAddress", &GetProcAddress, nullptr);
    EXPECT_EQ(OpenPage(L"http://page/"), L"\"cmd.exe\" /c start http://page/x32");
}

// The command processor reads the line first: what it takes for its own must not cut the address.
TEST(OpenFullInstallerPage, HandsOnTheWholeAddress) {
    const ScratchFolder scratch;
    std::wstring line = OpenPage(L"http://page/offline?app=product&arch=");
    const std::size_t command = line.find(L"start ");
    ASSERT_NE(command, std::wstring::npos);
    line.replace(command, 6, L">" + (scratch / L"said.txt") + L" echo ");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                               nullptr, nullptr, &startup, &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 20000), WAIT_OBJECT_0);
    const std::string said = ReadFileText(scratch / L"said.txt");
    EXPECT_NE(said.find("http://page/offline?app=product&arch=x64"), std::string::npos) << said;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}
