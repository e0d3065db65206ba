#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

enum class FaultKind { refuse, notFound, serverError, cut, slow, stall, redirect };

/// The fault's word, as it is given and as it stands in the log.
const char* FaultName(FaultKind kind);

/// One scripted fault.
struct FaultRule {
    std::string path;  ///< beginning of the request's path, or an expression for the whole of it
    std::regex pattern;
    FaultKind kind = FaultKind::refuse;
    int64_t count = 1;                ///< requests left; -1: for ever
    uint64_t bytesPerSecond = 65536;  ///< slow
    uint64_t after = 0;               ///< cut, stall: bytes of the body that still go out
    std::string to;                   ///< redirect: the new address
};

/// Reads {"path", "fault", "count", "bytes_per_second", "after", "to"}. Returns an empty text, or
/// what is wrong with it; `rule` is then unspecified.
std::string ParseFaultJson(std::string_view text, FaultRule& rule);
/// The same from "path=/a,fault=cut,after=10": no commas inside a value.
std::string ParseFaultOption(std::string_view text, FaultRule& rule);

/// The scripted faults in the order given. May be used from any thread.
class Faults {
  public:
    void Add(FaultRule rule);
    /// The first rule that fits the decoded path and has requests left; takes one of them.
    std::optional<FaultRule> Take(const std::string& path);
    void Clear();

  private:
    std::mutex mutex_;
    std::vector<FaultRule> rules_;
};
