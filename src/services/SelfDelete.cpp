#include "services/SelfDelete.h"

#include <windows.h>
#include <strsafe.h>

#include <cwchar>
#include <cwctype>

#include "base/TempFolder.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "processes/Launch.h"

namespace {

// %1 is the process to wait for, %2 the file. `del` passes over hidden files unless asked for them.
constexpr char script[] =
    ":waitforpid\r\n"
    "tasklist /fi \"pid eq %1\" 2>nul | findstr \"%1\" >nul\r\n"
    "if %ERRORLEVEL%==0 (\r\n"
    "  timeout /t 1 /nobreak >nul\r\n"
    "  goto :waitforpid\r\n"
    ")\r\n"
    "del /q /f \"%2\"\r\n"
    "del /q /f /a:h \"%2\"\r\n"
    "del /q /f \"%0\"\r\n"
    "del /q /f /a:h \"%0\"";
// In the current folder, which is that for temporary files.
constexpr wchar_t scriptHere[] = L".\\lumentra.selfdel.cmd";
constexpr unsigned scriptLength = sizeof script - 1;
static_assert(scriptLength == 212);

HRESULT FormatArguments(const wchar_t* path, wchar_t (&arguments)[MAX_PATH]) {
    return StringCchPrintfW(arguments, MAX_PATH, L"%u \"%s\" >nul 2>nul",
                            static_cast<unsigned>(GetCurrentProcessId()), path);
}

// The script puts %0 and %2, which come in quotes, into quotes once more, so that `del` sees them
// without any, and what is special to the command processor ends or splits them.
bool IsPlain(const wchar_t* path) {
    for (; *path != L'\0'; ++path) {
        if (iswspace(*path) || wcschr(L"&()[]{}^=;!'+,`%", *path) != nullptr) {
            return false;
        }
    }
    return true;
}

// Where a file whose path is not plain goes: a plain name in the script's folder. A program that
// runs can be moved too.
struct PlainPlace {
    wchar_t name[64];
    wchar_t path[MAX_PATH];
};

bool MovePlainly(const wchar_t* path, const wchar_t* temp, PlainPlace& place) {
    return SUCCEEDED(StringCchPrintfW(place.name, 64, L"lumentra.selfdel.%u.exe",
                                      static_cast<unsigned>(GetCurrentProcessId()))) &&
           SUCCEEDED(StringCchPrintfW(place.path, MAX_PATH, L"%s%s", temp, place.name)) &&
           MoveFileExW(path, place.path, MOVEFILE_REPLACE_EXISTING);
}

}  // namespace

void SelfDelete(const wchar_t* path) {
    wchar_t temp[MAX_PATH];
    if (!GetTempFolder(temp)) {
        return;
    }
    wchar_t scriptPath[MAX_PATH];
    wchar_t arguments[MAX_PATH];
    if (FAILED(StringCchPrintfW(scriptPath, MAX_PATH, L"%s%s", temp, scriptHere + 2)) ||
        FAILED(FormatArguments(path, arguments))) {
        return;
    }
    SHRemoveObject(scriptPath, false);
    if (WriteBufferToFile(script, scriptLength, scriptPath) < 0) {
        SHRemoveObject(scriptPath, false);
        return;
    }
    PlainPlace plain;
    const bool isMoved = !IsPlain(path);
    if (isMoved) {
        // Only now: without the script nothing would delete it under its new name.
        if (!MovePlainly(path, temp, plain)) {
            SHRemoveObject(scriptPath, false);
            return;
        }
        // The script's current folder is another one where the folder is a server's.
        if (!IsPlain(plain.path) || FAILED(FormatArguments(plain.path, arguments))) {
            FormatArguments(plain.name, arguments);
        }
    }
    // Or the command processor would look for the script's programs beside the script first.
    SetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", L"1");
    // A script named C:\A B\x.cmd would empty the folder C:\A.
    if (ExecuteApp(IsPlain(scriptPath) ? scriptPath : scriptHere, arguments, CREATE_NO_WINDOW,
                   false) < 0 &&
        isMoved) {
        MoveFileExW(plain.path, path, 0);
    }
}
