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

// The script puts %2, which comes in quotes, into quotes once more, so that `del` sees the path
// without any: what is special to the command processor then ends or splits it. The short form of a
// path has none of that. Where the volume keeps no short names the long one has to do.
void MakePlain(const wchar_t* path, wchar_t (&plain)[260]) {
    const bool isSpecial = wcspbrk(path, L" &()[]{}^=;!'+,`") != nullptr;
    const DWORD length = isSpecial ? GetShortPathNameW(path, plain, 260) : 0;
    if (length == 0 || length >= 260) {
        StringCchCopyW(plain, 260, path);
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
    wchar_t plain[260];
    wchar_t arguments[260];
    MakePlain(path, plain);
    if (FAILED(StringCchPrintfW(scriptPath, 260, L"%slumentra.selfdel.cmd", temp)) ||
        FAILED(StringCchPrintfW(arguments, 260, L"%u \"%s\" >nul 2>nul",
                                static_cast<unsigned>(GetCurrentProcessId()), plain))) {
        return;
    }
    SHRemoveObject(scriptPath, false);
    if (WriteBufferToFile(script, scriptLength, scriptPath) < 0) {
        SHRemoveObject(scriptPath, false);
        return;
    }
    ExecuteApp(scriptPath, arguments, CREATE_NO_WINDOW, false);
}
