#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// The present time in UTC with milliseconds, "2026-11-22T09:08:07.006Z".
std::string CurrentTimeText();

// One finished (or for good interrupted) request.
struct LogEntry {
    uint64_t sequence = 0;  // given by the log, from 1
    std::string time;       // when the request came
    std::string scheme;     // "http" or "https"
    std::string method;     // empty when no request could be read
    std::string target;     // path and query as sent
    int status = 0;         // 0 when no answer was begun
    std::string fault;      // what went other than normal, empty when nothing did
    uint64_t bytes = 0;     // of the body, handed to the network
    std::string note;       // what became of a report
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(LogEntry, sequence, time, scheme, method, target, status, fault,
                                   bytes, note)

// All requests but those below /_control/, a line for each: sequence, time, scheme, method, target,
// fault or else status, bytes, and the note if there is one; one blank between, "-" for what is
// empty. The target's blanks, controls and bytes above 0x7e are percent-encoded, so a line always
// splits at its blanks. May be used from any thread.
class RequestLog {
  public:
    // Lines are appended to `path`, to the standard output when it is empty. False when the file
    // cannot be opened.
    bool Open(const std::string& path);
    // Numbers the entry, keeps it and writes its line through to the file.
    void Add(LogEntry entry);
    std::vector<LogEntry> Entries();
    // Forgets all entries, numbers from 1 again and empties the file.
    void Clear();

  private:
    std::mutex mutex;
    std::vector<LogEntry> entries;
    std::FILE* file = stdout;
};
