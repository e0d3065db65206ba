#include "services/SelfDelete.h"

#include <windows.h>
#include <strsafe.h>

#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"
#include "services/Launch.h"

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
constexpr unsigned scriptLength = sizeof script - 1;
static_assert(scriptLength == 212);

HRESULT FormatArguments(const wchar_t* path, wchar_t (&arguments)[260]) {
    return StringCchPrintfW(arguments, 260, L"%u \"%s\" >nul 2>nul",
                            static_cast<unsigned>(GetCurrentProcessId()), path);
}

// The script puts %2, which comes in quotes, into quotes once more, so that `del` sees it without
// any, and what is special to the command processor ends or splits it. A file with such a path gets
// a plain name in the script's folder, which a program that runs can be given too. Where that fails
// the path has to do as it is.
void MovePlainly(const wchar_t* path, const wchar_t* temp, wchar_t (&arguments)[260]) {
    wchar_t name[64];
    wchar_t moved[260];
    if (SUCCEEDED(StringCchPrintfW(name, 64, L"lumentra.selfdel.%u.exe",
                                   static_cast<unsigned>(GetCurrentProcessId()))) &&
        SUCCEEDED(StringCchPrintfW(moved, 260, L"%s%s", temp, name)) &&
        MoveFileExW(path, moved, MOVEFILE_REPLACE_EXISTING)) {
        FormatArguments(name, arguments);
    }
}

}  // namespace

void SelfDelete(const wchar_t* path) {
    wchar_t temp[260];
    const DWORD length = GetTempPathW(260, temp);
    if (length == 0 || length > 260) {
        return;
    }
    wchar_t scriptPath[260];
    wchar_t arguments[260];
    if (FAILED(StringCchPrintfW(scriptPath, 260, L"%slumentra.selfdel.cmd", temp)) ||
        FAILED(FormatArguments(path, arguments))) {
        return;
    }
    SHRemoveObject(scriptPath, false);
    if (WriteBufferToFile(script, scriptLength, scriptPath) < 0) {
        SHRemoveObject(scriptPath, false);
        return;
    }
    // Only now: without the script nothing would delete it under its new name.
    if (wcspbrk(path, L" &()[]{}^=;!'+,`%") != nullptr) {
        MovePlainly(path, temp, arguments);
    }
    ExecuteApp(scriptPath, arguments, CREATE_NO_WINDOW, false);
}
