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
    if (text.empty()) {
        return "-";
    }
    std::string printable;
    for (const unsigned char byte : text) {
        if (byte > 0x20 && byte < 0x7f) {
            printable += static_cast<char>(byte);
        } else {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02x", byte);
            printable += escaped;
        }
    }
    return printable;
}

}  // namespace

std::string FormatLogLine(const LogEntry& entry) {
    std::string result = entry.fault;
    if (result.empty() && entry.status != 0) {
        result = std::to_string(entry.status);
    }
    std::string line = std::to_string(entry.sequence) + ' ' + entry.time + ' ' + entry.scheme +
                       ' ' + OrDash(entry.method) + ' ' + OrDash(entry.target) + ' ' +
                       OrDash(result) + ' ' + std::to_string(entry.bytes);
    if (!entry.note.empty()) {
        line += ' ' + entry.note;
    }
    return line;
}

RequestLog::~RequestLog() {
    if (file_ != nullptr && file_ != stdout) {
        std::fclose(file_);
    }
}

bool RequestLog::Open(const std::string& file) {
    file_ = file.empty() ? stdout : std::fopen(file.c_str(), "ae");
    return file_ != nullptr;
}

void RequestLog::Add(LogEntry entry) {
    const std::lock_guard lock(mutex_);
    entry.sequence = entries_.size() + 1;
    if (file_ != nullptr) {
        std::fprintf(file_, "%s\n", FormatLogLine(entry).c_str());
        std::fflush(file_);
    }
    entries_.push_back(std::move(entry));
}

std::vector<LogEntry> RequestLog::Entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
}

void RequestLog::Clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
    if (file_ != nullptr && file_ != stdout && ftruncate(fileno(file_), 0) != 0) {
        std::perror("devserver: the log cannot be emptied");
    }
}
