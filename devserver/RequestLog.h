#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

/// The present time in UTC with milliseconds, "2026-11-22T09:08:07.006Z".
std::string CurrentTimeText();

/// One finished (or for good interrupted) request.
struct LogEntry {
    uint64_t sequence = 0;  ///< given by the log, from 1
    std::string time;       ///< when the request came
    std::string scheme;     ///< "http" or "https"
    std::string method;     ///< empty when no request could be read
    std::string target;     ///< path and query as sent
    int status = 0;         ///< 0 when no answer was begun
    std::string fault;      ///< what went other than normal, empty when nothing did
    uint64_t bytes = 0;     ///< of the body, handed to the network
    std::string note;       ///< what became of a report
};

/// The entry's line: sequence, time, scheme, method, target, fault or else status, bytes, and the
/// note if there is one; one blank between, "-" for what is empty, no line end. The target's
/// blanks, controls and bytes above 0x7e are percent-encoded, so a line always splits at its
/// blanks.
std::string FormatLogLine(const LogEntry& entry);

/// All requests but those below /_control/. May be used from any thread.
class RequestLog {
  public:
    RequestLog() = default;
    ~RequestLog();
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    /// Lines are appended to `file`, to the standard output when it is empty. False when the file
    /// cannot be opened.
    bool Open(const std::string& file);
    /// Numbers the entry, keeps it and writes its line through to the file.
    void Add(LogEntry entry);
    std::vector<LogEntry> Entries() const;
    /// Forgets all entries, numbers from 1 again and empties the file.
    void Clear();

  private:
    mutable std::mutex mutex_;
    std::vector<LogEntry> entries_;
    std::FILE* file_ = nullptr;
};
