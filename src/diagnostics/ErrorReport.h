#pragma once

#include <windows.h>

#include <string>

/// A failure on its way to the product's server. One free-standing instance sends; a second one, in
/// the progress object, carries what failed in an operation.
class ErrorReport {
  public:
    /// Stores the thread's last error with its text. To be called first after the failed step.
    void CaptureLastError();

    /// Null changes nothing.
    void SetMessage(const wchar_t* text);

    /// Composes the report with the message and the error of `source` (null: this object's own) at
    /// its head, saves it as UTF-16 in the temporary folder and posts it to the server. Blocks with
    /// the system's time-outs, never retries, and tells no failure of its own to anybody.
    void Send(const ErrorReport* source);

    /// The report text, afterwards the body of the request.
    std::wstring body;
    std::wstring lastErrorText;
    std::wstring message;
    DWORD lastError = 0;
};

/// The instance that sends. The main thread uses it, while no operation
/// runs.
extern ErrorReport& errorReport;

/// UTF-8 with every byte but letters, digits, "-", "_", "." and "~" as "%" and two lower-case
/// digits.
std::wstring PercentEncode(const std::wstring& text);
