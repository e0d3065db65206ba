#pragma once

#include <windows.h>

#include <string>

/// Starts a program: its path in double quotes, a blank and `arguments` (null counts as empty),
/// with no escaping; its working directory is its own folder. A bare name is that of a program in
/// the system's folder, which gets this process's working directory. With `wait` it returns when
/// the program has ended, without a time limit. 0, or -1 for a null path or a program that could
/// not be started. The exit code is not looked at.
int ExecuteApp(const wchar_t* path, const wchar_t* arguments, DWORD creationFlags, bool wait);

/// The arguments from element 1 on, each as a blank and the argument in double quotes. Quotes
/// inside are not escaped.
std::wstring QuotedArguments(int count, wchar_t* const* arguments);

/// Waits until five processes named `exeName` run, up to 5 seconds, and then 400 ms more.
void WaitForAppOpen(const wchar_t* exeName);

/// Waits until the file exists, up to 10 seconds.
void WaitForFileAppear(const wchar_t* path);

/// Whether the thread's token belongs to the group of administrators; false, after an ERROR line,
/// when that cannot be found out.
bool IsRunAsAdmin();

/// Starts an elevated copy of this program with its arguments behind "--runas" and this process's
/// id, for which the copy waits. `ownerWindow` owns the system's prompt, and the call returns when
/// the user has answered it. 0 when the copy was started, otherwise the system's error code.
DWORD RunAs(HWND ownerWindow);

/// Takes the named lock until the process ends. 0 when this process is the first; 1 when another
/// one holds it or it cannot be made. A window of the class `windowClass`, unless that is empty,
/// then comes to the foreground.
int CheckSingleInstance(std::wstring lockName, std::wstring windowClass);
