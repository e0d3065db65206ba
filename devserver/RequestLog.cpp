#include "RequestLog.h"

#include <time.h>
#include <unistd.h>

#include <utility>

std::string CurrentTimeText() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    char day[32];
    strftime(day, sizeof day, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03dZ", day, static_cast<int>(now.tv_nsec / 1'000'000));
    return text;
}

namespace {

std::string OrDash(const std::string& text) {
    std::string printable;
    for (const unsigned char byte : text) {
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, byte > 0x20 && byte < 0x7f ? "%c" : "%%%02x", byte);
        printable += escaped;
    }
    return text.empty() ? "-" : printable;
}

std::string FormatLine(const LogEntry& entry) {
    const std::string status = entry.status != 0 ? std::to_string(entry.status) : "";
    return std::to_string(entry.sequence) + ' ' + entry.time + ' ' + entry.scheme + ' ' +
           OrDash(entry.method) + ' ' + OrDash(entry.target) + ' ' +
           OrDash(entry.fault.empty() ? status : entry.fault) + ' ' + std::to_string(entry.bytes) +
           (entry.note.empty() ? "" : ' ' + entry.note) + '\n';
}

}  // namespace

bool RequestLog::Open(const std::string& path) {
    file = path.empty() ? stdout : std::fopen(path.c_str(), "ae");
    return file != nullptr;
}

void RequestLog::Add(LogEntry entry) {
    const std::lock_guard lock(mutex);
    entry.sequence = entries.size() + 1;
    std::fputs(FormatLine(entry).c_str(), file);
    std::fflush(file);
    entries.push_back(std::move(entry));
}

std::vector<LogEntry> RequestLog::Entries() {
    const std::lock_guard lock(mutex);
    return entries;
}

void RequestLog::Clear() {
    const std::lock_guard lock(mutex);
    entries.clear();
    if (file != stdout && ftruncate(fileno(file), 0) != 0) {
        std::perror("devserver: the log cannot be emptied");
    }
}
