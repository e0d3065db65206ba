#include "diagnostics/ErrorReport.h"

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "startup/GlobalVars.h"
#include "support/FailingCall.h"
#include "support/HttpInbox.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

namespace {

class Report : public testing::Test {
  protected:
    Report() {
        vars.serverHost = L"127.0.0.1";
        vars.reportErrorPath = L"/pre/reporterror";
        vars.errorReportFileName = L".app-error-report.txt";
        vars.appGuid = L"{NO-SUCH-GUID}";
        sender.vars = &vars;
    }

    std::wstring SendTo(std::uint16_t port, const ErrorReport* source) {
        vars.serverPort = port;
        sender.Send(source);
        // UTF-16LE without a byte order mark.
        const std::string bytes = ReadFileText(scratch / vars.errorReportFileName);
        return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2};
    }

    ScratchFolder scratch;
    TempVariable temp{scratch.path};
    RedirectedRegistry registry;
    GlobalVars vars;
    ErrorReport sender;
};

}  // namespace

TEST(PercentEncode, LeavesOnlyTheUnreservedBytes) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"", L""},
        {L"azAZ09-_.~", L"azAZ09-_.~"},
        {L"У", L"%d0%a3"},
        {L" \n\"\\+%/:@[`{\x7f", L"%20%0a%22%5c%2b%25%2f%3a%40%5b%60%7b%7f"},
        {L"\xD83D\xDE00", L"%f0%9f%98%80"},
    };
    for (const auto& [text, encoded] : cases) {
        EXPECT_EQ(PercentEncode(text), encoded);
    }
}

TEST_F(Report, HoldsTwelvePiecesInTheFileAndInTheRequest) {
    HttpInbox inbox;
    ErrorReport source;
    source.SetMessage(L"Сбой");
    source.SetMessage(nullptr);
    SetLastError(ERROR_ACCESS_DENIED);
    source.CaptureLastError();
    mainLog.Info(L"the last line");
    const std::wstring text = SendTo(inbox.port, &source);

    std::size_t at = 0;
    for (const std::wstring& piece :
         {L"Сбой : " + ErrorText(ERROR_ACCESS_DENIED), std::wstring(L" // local time: 20"),
          std::wstring(L"\n // os: windows "), std::wstring(L"\n // cpu: num of cpu: "),
          std::wstring(L"\n // mem: total: "), std::wstring(L"\n // vers: lm ver: "),
          L"\n // env: \n      TEMP: " + scratch.path, std::wstring(L"\n // cmd: Z:\\"),
          std::wstring(L"\n // curDir: Z:\\"), std::wstring(L"\n // isAdmin: 1\n"),
          std::wstring(L" // installer log:\n"),
          std::wstring(L" [INFO]  [Main] the last line\n\n // processes:\n")}) {
        const std::size_t found = text.find(piece, at);
        ASSERT_NE(found, std::wstring::npos) << piece;
        EXPECT_TRUE(at > 0 || found == 0);
        at = found + piece.size();
    }
    const std::vector<std::string> requests = inbox.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].find("POST /pre/reporterror HTTP/1.1\r\n"), 0u);
    for (const char* header : {"\r\nUser-Agent: LumentraInstaller\r\n", "\r\nAccept: */*\r\n",
                               "\r\nContent-Type: application/json; charset=utf-8\r\n"}) {
        EXPECT_NE(requests[0].find(header), std::string::npos) << header;
    }
    const std::wstring encoded = PercentEncode(text);
    EXPECT_EQ(requests[0].substr(requests[0].find("\r\n\r\n") + 4),
              "{ \"message\": \"" + std::string(encoded.begin(), encoded.end()) + "\" }");
}

TEST_F(Report, CarriesWhatTheProcessWalkLoggedButNothingLater) {
    HttpInbox inbox("500 Internal Server Error");
    sender.SetMessage(L"own");
    {
        const FailingCall noProcess("kernel32.dll", "OpenProcess", &OpenProcess, nullptr);
        const FailingCall noAnswer("advapi32.dll", "CheckTokenMembership", &CheckTokenMembership,
                                   FALSE);
        const std::wstring text = SendTo(inbox.port, nullptr);
        EXPECT_EQ(text.find(L"own :  // local time: "), 0u);
        EXPECT_NE(text.find(L"\n // isAdmin: 0\n"), std::wstring::npos);
        EXPECT_NE(text.find(L"GetProcessFullName: OpenProcess for pid"), std::wstring::npos);
        EXPECT_EQ(text.find(L"IsRunAsAdmin: exception"), std::wstring::npos);
    }
    // The next report replaces the file; a server's refusal is neither repeated nor logged.
    sender.SetMessage(L"second");
    const LogCapture afterwards;
    EXPECT_EQ(SendTo(inbox.port, nullptr).find(L"second : "), 0u);
    EXPECT_EQ(inbox.Requests().size(), 2u);
    EXPECT_EQ(afterwards.Lines(), L"");
}

TEST_F(Report, SavingAndSendingFailApartFromEachOther) {
    std::uint16_t closedPort = 0;
    {
        HttpInbox inbox;
        closedPort = inbox.port;
        const FailingCall noTemp("kernel32.dll", "GetTempPathW", &GetTempPathW, 0);
        SendTo(inbox.port, nullptr);
        EXPECT_EQ(inbox.Requests().size(), 1u);
        EXPECT_FALSE(Exists(scratch / vars.errorReportFileName));
    }
    EXPECT_EQ(SendTo(closedPort, nullptr).find(L" :  // local time: "), 0u);
}
