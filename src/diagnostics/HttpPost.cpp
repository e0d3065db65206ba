#include "diagnostics/HttpPost.h"

#include <wininet.h>

#include "base/SystemLibrary.h"
#include "base/Utf8.h"

namespace {

template <typename Function>
Function* FromWinInet(const char* name, Function* declaration) {
    return SystemFunction(L"wininet.dll", name, declaration);
}

}  // namespace

void PostJson(const PostTarget& target, const std::wstring& body) {
    std::string bytes = ToUtf8(body);
    if (bytes.empty()) {
        return;
    }
    const auto open = FromWinInet("InternetOpenW", &InternetOpenW);
    const auto connect = FromWinInet("InternetConnectW", &InternetConnectW);
    const auto openRequest = FromWinInet("HttpOpenRequestW", &HttpOpenRequestW);
    const auto send = FromWinInet("HttpSendRequestW", &HttpSendRequestW);
    const auto query = FromWinInet("HttpQueryInfoW", &HttpQueryInfoW);
    const auto close = FromWinInet("InternetCloseHandle", &InternetCloseHandle);
    if (!open || !connect || !openRequest || !send || !query || !close) {
        return;
    }
    // No handle is tested: a call on a null handle fails, and so does the next one.
    const wchar_t* acceptTypes[] = {L"*/*", nullptr};
    const HINTERNET internet =
        open(L"LumentraInstaller", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    const HINTERNET connection = connect(internet, target.host.c_str(), target.port, nullptr,
                                         nullptr, INTERNET_SERVICE_HTTP, 0, 1);
    const HINTERNET request = openRequest(connection, L"POST", target.path.c_str(), nullptr,
                                          nullptr, acceptTypes, target.flags, 0);
    send(request, L"Content-Type: application/json; charset=utf-8", static_cast<DWORD>(-1),
         bytes.data(), static_cast<DWORD>(bytes.size()));
    // Waits for the answer, whatever it is.
    wchar_t status[128];
    DWORD statusSize = sizeof status;
    query(request, HTTP_QUERY_STATUS_CODE, status, &statusSize, nullptr);
    close(request);
    close(connection);
    close(internet);
}
