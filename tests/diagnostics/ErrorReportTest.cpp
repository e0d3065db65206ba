#include "diagnostics/ErrorReport.h"

#include <gtest/gtest.h>

#include "startup/GlobalVars.h"
#include "support/FailingCall.h"
#include "support/HttpInbox.h"
#include "support/Scratch.h"
#include "support/TempVariable.h"

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

// The pieces of a report are seen in the scenarios.
TEST(ErrorReport, IsSavedAndSentOnceWhateverTheServerAnswers) {
    const ScratchFolder scratch;
    const TempVariable temp(scratch.path);
    HttpInbox inbox("500 Internal Server Error");
    GlobalVars vars;
    vars.serverHost = L"127.0.0.1";
    vars.serverPort = inbox.port;
    vars.reportErrorPath = L"/pre/reporterror";
    vars.errorReportFileName = L".app-error-report.txt";
    ErrorReport sender;
    sender.vars = &vars;
    const auto send = [&] {
        sender.Send(nullptr);
        // UTF-16LE without a byte order mark.
        const std::string bytes = ReadFileText(scratch / vars.errorReportFileName);
        return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
    };
    {
        const FailingCall noProcess("kernel32.dll", "OpenProcess", &OpenProcess, nullptr);
        const FailingCall noAnswer("advapi32.dll", "CheckTokenMembership", &CheckTokenMembership,
                                   FALSE);
        const std::wstring text = send();
        EXPECT_NE(text.find(L"\n // isAdmin: 0\n"), std::wstring::npos);
        EXPECT_NE(text.find(L"GetProcessFullName: OpenProcess for pid"), std::wstring::npos)
            << "the walk of the processes comes before the log is taken";
        EXPECT_EQ(text.find(L"IsRunAsAdmin: exception"), std::wstring::npos);
    }
    // The next report replaces the file.
    sender.SetMessage(L"second");
    sender.SetMessage(nullptr);
    const LogCapture afterwards;
    const std::wstring text = send();
    EXPECT_EQ(text.find(L"second :  // local time: 20"), 0u);
    EXPECT_EQ(afterwards.Lines(), L"");
    const std::vector<std::string> requests = inbox.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].find("POST /pre/reporterror HTTP/1.1\r\n"), 0u);
    for (const char* header : {"\r\nUser-Agent: LumentraInstaller\r\n", "\r\nAccept: */*\r\n",
                               "\r\nContent-Type: application/json; charset=utf-8\r\n"}) {
        EXPECT_NE(requests[1].find(header), std::string::npos) << header;
    }
    const std::wstring encoded = PercentEncode(text);
    EXPECT_TRUE(requests[1].ends_with("\r\n\r\n{ \"message\": \"" +
                                      std::string(encoded.begin(), encoded.end()) + "\" }"));
}
