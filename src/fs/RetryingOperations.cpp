#include "fs/RetryingOperations.h"

#include <windows.h>
#include <shellapi.h>
#include <shlwapi.h>
#include <stdlib.h>

#include "base/Log.h"
#include "processes/Launch.h"
#include "resources/TextTableFormat.h"
#include "ui/DialogAsking.h"

namespace {

constexpr FILEOP_FLAGS quietFlags =
    FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
constexpr int shellRetries = 5;
constexpr int plainRetries = 4;
constexpr DWORD retryPause = 100;

// True until the first dialog of the process; later failures start no second report run. Plain,
// since one thread at a time runs file operations.
bool errorReportPending = true;

// The shell wants a list of paths that ends with an empty one.
std::wstring PathList(const std::wstring& path) {
    return path + L'\0';
}

struct ShellOperation {
    const std::wstring& source;
    std::wstring from;
    std::wstring to;
    SHFILEOPSTRUCTW record{};

    ShellOperation(UINT operation, FILEOP_FLAGS flags, const std::wstring& fromPath,
                   const std::wstring* toPath)
        : source(fromPath),
          from(PathList(fromPath)),
          to(toPath ? PathList(*toPath) : std::wstring()) {
        record.wFunc = operation;
        record.fFlags = flags;
        record.pFrom = from.c_str();
        record.pTo = toPath ? to.c_str() : nullptr;
    }
    ShellOperation(const ShellOperation&) = delete;
    ShellOperation& operator=(const ShellOperation&) = delete;

    int Run() {
        if (PathIsDirectoryW(to.c_str()) && PathIsDirectoryW(source.c_str())) {
            // An earlier call has made the target and stopped; the source would land inside it.
            if (PathIsDirectoryEmptyW(source.c_str())) {
                return 0;
            }
            from = source;
            from.append(L"\\*", 3);  // and the end of the list
            record.pFrom = from.c_str();
        }
        const int result = SHFileOperationW(&record);
        // Not all was done: to clear the source of such a move would delete the rest.
        const bool isIncomplete =
            record.fAnyOperationsAborted || (!to.empty() && !PathFileExistsW(to.c_str()));
        return result == 0 && isIncomplete ? ERROR_CANCELLED : result;
    }
};

int RetryShell(ShellOperation& operation, int result, const wchar_t* name) {
    for (int retry = 0; result != 0 && retry < shellRetries; ++retry) {
        fsUtilsLog.Warn(std::wstring(name) + L": error, trying again: " + ErrorText(result));
        Sleep(retryPause);
        result = operation.Run();
    }
    return result;
}

int RunShell(ShellOperation& operation, const wchar_t* name) {
    return RetryShell(operation, operation.Run(), name);
}

bool UserWantsRetry() {
    fsUtilsLog.Info(L"ShowErrorDialog");
    if (errorReportPending) {
        errorReportPending = false;
        RequestErrorReport();
    }
    return ShowDialog(TextAccessBlocked, MB_RETRYCANCEL, mainWindowHandle) == IDRETRY;
}

int Fail(const wchar_t* name, int shellResult) {
    fsUtilsLog.Error(std::wstring(name) + L": " + ErrorText(shellResult));
    SetLastError(shellResult);
    return -1;
}

// The fall-back of a pass: clears the target, unless an earlier pass has begun it, and lets the
// shell do it. Sets `result` to the shell's code; false when the target could not be cleared.
bool ShellMoveCopy(const std::wstring& from, const std::wstring& to, UINT operation,
                   bool showErrorDialog, bool& isBegun, int& result) {
    if (!isBegun && PathFileExistsW(to.c_str()) && SHRemoveObject(to, showErrorDialog) < 0) {
        fsUtilsLog.Error(L"SHMoveCopyObject: error of SHRemoveObject");
        return false;
    }
    ShellOperation shell(operation, quietFlags, from, &to);
    result = shell.Run();
    if (result == ERROR_SHARING_VIOLATION) {
        fsUtilsLog.Warn(L"SHMoveCopyObject: error, trying copy: " + ErrorText(result));
        shell.record.wFunc = FO_COPY;
    }
    result = RetryShell(shell, result, L"SHMoveCopyObject");
    // What a move has brought there before it stopped is nowhere else.
    isBegun = operation == FO_MOVE && PathIsDirectoryW(to.c_str());
    return true;
}

}  // namespace

int SHRemoveObject(const std::wstring& path, bool showErrorDialog) {
    fsUtilsLog.Info(L"SHRemoveObject: " + path);
    const bool isWildcard = path.find(L'*') != std::wstring::npos;
    if (!isWildcard && !PathFileExistsW(path.c_str())) {
        fsUtilsLog.Info(L"SHRemoveObject: Done: file or folder not exists!");
        return 0;
    }
    const FILEOP_FLAGS flags = isWildcard ? quietFlags | FOF_FILESONLY : quietFlags;
    ShellOperation shell(FO_DELETE, flags, path, nullptr);
    int result = 0;
    do {
        result = RunShell(shell, L"SHRemoveObject");
    } while (result != 0 && showErrorDialog && UserWantsRetry());
    if (result != 0) {
        return Fail(L"SHRemoveObject", result);
    }
    fsUtilsLog.Info(L"SHRemoveObject: Done");
    return 0;
}

unsigned long MoveObject(const std::wstring& from, const std::wstring& to) {
    DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
    for (int retry = 0;; ++retry) {
        if (MoveFileExW(from.c_str(), to.c_str(), flags)) {
            fsUtilsLog.Info(L"MoveObject: Done");
            return 0;
        }
        const DWORD error = GetLastError();
        fsUtilsLog.Warn(L"MoveObject: error, trying again: " + ErrorText(error));
        if (retry == plainRetries) {
            return error;
        }
        Sleep(retryPause);
        flags = 0;
    }
}

unsigned long CopyObject(const std::wstring& from, const std::wstring& to) {
    for (int retry = 0;; ++retry) {
        if (CopyFileW(from.c_str(), to.c_str(), FALSE)) {
            fsUtilsLog.Info(L"CopyObject: Done");
            return 0;
        }
        const DWORD error = GetLastError();
        fsUtilsLog.Warn(L"CopyObject: error, trying again: " + ErrorText(error));
        if (retry == plainRetries) {
            return error;
        }
        Sleep(retryPause);
    }
}

int SHMoveCopyObject(const std::wstring& from, const std::wstring& to, unsigned operation,
                     bool showErrorDialog) {
    fsUtilsLog.Info(L"SHMoveCopyObject: [" + from + L"] to [" + to + L"]");
    if (!PathFileExistsW(from.c_str())) {
        fsUtilsLog.Info(L"SHMoveCopyObject: Done");
        return 0;
    }
    bool isBegun = false;
    int result = 0;
    do {
        if ((operation == FO_MOVE ? MoveObject(from, to) : CopyObject(from, to)) == 0) {
            return 0;
        }
        if (!ShellMoveCopy(from, to, operation, showErrorDialog, isBegun, result)) {
            return -1;
        }
    } while (result != 0 && showErrorDialog && UserWantsRetry());
    if (result != 0) {
        if (isBegun) {
            // The caller may clear the target, and nobody else would bring both parts together.
            ShellOperation(FO_MOVE, quietFlags, to, &from).Run();
        }
        return Fail(L"SHMoveCopyObject", result);
    }
    if (operation == FO_MOVE && PathFileExistsW(from.c_str())) {
        SHRemoveObject(from, false);
    }
    fsUtilsLog.Info(L"SHMoveCopyObject: Done");
    return 0;
}

int SHCopyObject(const std::wstring& from, const std::wstring& to, bool showErrorDialog) {
    fsUtilsLog.Info(L"SHCopyObject");
    return SHMoveCopyObject(from, to, FO_COPY, showErrorDialog);
}

int SHMoveObject(const std::wstring& from, const std::wstring& to, bool showErrorDialog) {
    fsUtilsLog.Info(L"SHMoveObject");
    return SHMoveCopyObject(from, to, FO_MOVE, showErrorDialog);
}

int SHRenameObject(const std::wstring& from, const std::wstring& to) {
    fsUtilsLog.Info(L"SHRenameObject: [" + from + L"] to [" + to + L"]");
    if (!PathFileExistsW(from.c_str())) {
        fsUtilsLog.Info(L"SHRenameObject: Done");
        return 0;
    }
    if (PathFileExistsW(to.c_str()) && SHRemoveObject(to, false) < 0) {
        fsUtilsLog.Error(L"SHRenameObject: error of SHRemoveObject");
        return -1;
    }
    if (MoveObject(from, to) == 0) {
        return 0;
    }
    ShellOperation shell(FO_MOVE, quietFlags, from, &to);
    if (const int result = shell.Run(); result != 0) {
        return Fail(L"SHRenameObject", result);
    }
    fsUtilsLog.Info(L"SHRenameObject: Done");
    return 0;
}

void RequestErrorReport() {
    wchar_t ownPath[MAX_PATH];
    const DWORD pathLength = GetModuleFileNameW(nullptr, ownPath, MAX_PATH);
    if (pathLength == 0 || pathLength == MAX_PATH) {
        return;
    }
    ExecuteApp(ownPath, (L"--generate-report" + QuotedArguments(__argc, __wargv)).c_str(), 0,
               false);
}
