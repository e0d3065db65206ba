#include "services/Download.h"

#include <shlwapi.h>
#include <strsafe.h>
#include <urlmon.h>
#include <wininet.h>

#include <string>

#include "base/Log.h"
#include "base/SystemLibrary.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"

namespace {

constexpr int passes = 5;
constexpr DWORD passPause = 1000;

void DropCachedCopy(const wchar_t* url) {
    const auto deleteEntry =
        SystemFunction(L"wininet.dll", "DeleteUrlCacheEntryW", &DeleteUrlCacheEntryW);
    if (deleteEntry != nullptr) {
        deleteEntry(url);
    }
}

HRESULT Transfer(const wchar_t* url, const wchar_t* destPath, IBindStatusCallback* callback) {
    const auto download = SystemFunction(L"urlmon.dll", "URLDownloadToFileW", &URLDownloadToFileW);
    return download == nullptr ? HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND)
                               : download(nullptr, url, destPath, 0, callback);
}

void PrepareTarget(const std::wstring& destPath) {
    SHRemoveObject(destPath, false);
    const std::size_t separator = destPath.find_last_of(L"\\/");
    if (separator != std::wstring::npos) {
        CreateDir(destPath.substr(0, separator));
    }
}

void LogFailure(HRESULT lastResult) {
    switch (lastResult) {
        case E_OUTOFMEMORY:
            utilsLog.Error(
                L"downloadFile: error! The buffer length is invalid, or there is insufficient "
                L"memory to complete the operation.");
            break;
        case INET_E_DOWNLOAD_FAILURE:
            utilsLog.Error(
                L"downloadFile: error! The specified resource or callback interface was invalid.");
            break;
        default:
            utilsLog.Error(L"downloadFile: error!");
    }
}

}  // namespace

HRESULT urlDownloadToFile(const wchar_t* url, const wchar_t* destPath,
                          IBindStatusCallback* callback) {
    utilsLog.Info(std::wstring(L"urlDownloadToFile: ") + url + L" to " + destPath);
    DropCachedCopy(url);
    const HRESULT result = Transfer(url, destPath, callback);
    if (FAILED(result)) {
        utilsLog.Warn(L"urlDownloadToFile: error: " + HResultText(result));
        return result;
    }
    utilsLog.Info(L"urlDownloadToFile: Done");
    return result;
}

bool downloadFile(const wchar_t* url, const wchar_t* destPath, IBindStatusCallback* callback) {
    PrepareTarget(destPath);
    const wchar_t* mark = StrStrW(url, L"//");
    const wchar_t* remainder = mark == nullptr ? url : mark + 2;
    wchar_t httpsUrl[urlBufferLength];
    wchar_t httpUrl[urlBufferLength];
    StringCchPrintfW(httpsUrl, urlBufferLength, L"%s://%s", L"https", remainder);
    StringCchPrintfW(httpUrl, urlBufferLength, L"%s://%s", L"http", remainder);

    for (int pass = 1;; ++pass) {
        if (SUCCEEDED(urlDownloadToFile(httpsUrl, destPath, callback))) {
            return true;
        }
        const HRESULT result = urlDownloadToFile(httpUrl, destPath, callback);
        if (SUCCEEDED(result)) {
            return true;
        }
        if (pass == passes) {
            LogFailure(result);
            return false;
        }
        utilsLog.Warn(L"downloadFile: trying again");
        Sleep(passPause);
    }
}
