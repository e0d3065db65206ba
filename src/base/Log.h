#pragma once

#include <windows.h>

#include <string>

/// The log of the run: lines in memory, no file. Its only reader is the error report, which carries
/// the whole text. It has no lock, since one thread logs at a time: the main thread before and
/// after the operation's thread lives, that thread in between, and the main thread again while that
/// one waits for the answer to a question. Neither it nor its texts change the thread's last error:
/// callers hand the same error on after they have logged it.

/// One per module of the program. `sourceName` stands in every line, so it is part of the output.
class Logger {
  public:
    explicit Logger(const wchar_t* sourceName);

    void Info(std::wstring message);
    void Warn(std::wstring message);
    void Error(std::wstring message);

    std::wstring sourceName;
};

/// Built before WinMain and never destroyed; several files of one module share one. Nothing may log
/// from a static initialiser.
extern Logger& findProcessesLog;
extern Logger& fsUtilsLog;
extern Logger& globalVarsLog;
extern Logger& installAppLog;
extern Logger& mainLog;
extern Logger& mainWindowLog;
extern Logger& processesUtilsLog;
extern Logger& progressLog;
extern Logger& utilsLog;

/// A copy of all lines so far.
std::wstring GetLogText();

/// Local time as "2026-03-09 14:05:07.042".
std::wstring GetTimeStamp();

/// "[5] " and the system's words for the code, in the user's language, with their line break.
std::wstring ErrorText(DWORD code);

/// ErrorText of the thread's last error.
std::wstring LastErrorText();

/// ErrorText for 0 and for an HRESULT made from a system error, otherwise "[0x800c0008] ...".
std::wstring HResultText(HRESULT hr);
