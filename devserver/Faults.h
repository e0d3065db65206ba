#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

enum class FaultKind {
    Unknown,
    Refuse,
    NotFound,
    ServerError,
    Cut,
    Slow,
    Stall,
    Redirect,
    NoLength
};

// The fault's word, as it is given and as it stands in the log.
std::string FaultName(FaultKind kind);

// One scripted fault.
struct FaultRule {
    std::string path;  // beginning of the request's path, or an expression for the whole of it
    std::regex pattern;
    FaultKind kind = FaultKind::Unknown;
    int64_t count = 1;               // requests left; -1: for ever
    int64_t bytesPerSecond = 65536;  // slow
    int64_t after = 0;               // cut, stall: bytes of the body that still go out
    std::string to;                  // redirect: the new address
};

// Reads {"path", "fault", "count", "bytes_per_second", "after", "to"}. Throws a std::exception that
// says what is wrong with it.
FaultRule ParseFault(const std::string& text);

// The scripted faults in the order given. May be used from any thread.
class Faults {
  public:
    // From now on the file decides, one fault a line: it is read here and at a request before which
    // it was written, and replaces what is in force. Missing, it holds none. Throws a
    // std::exception when it cannot be understood; later that is told on stderr, at each request,
    // and what was in force stays.
    void Follow(const std::filesystem::path& file);
    void Add(FaultRule rule);
    // The first rule that fits the decoded path and has requests left; takes one of them.
    std::optional<FaultRule> Take(const std::string& path);
    void Clear();

  private:
    void ReadAgain();

    std::mutex mutex;
    std::vector<FaultRule> rules;
    std::filesystem::path followed;
    std::pair<std::filesystem::file_time_type, uintmax_t> stamp;
};
