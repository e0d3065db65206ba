#pragma once

#include <filesystem>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

/// Stores received reports as NNNN.raw (the body), NNNN.json (`facts` and the sizes) and NNNN.txt
/// (the readable text, UTF-8), numbered on from what the folder holds. Each file appears whole, and
/// the .txt last: where it is, the other two are. May be used from any thread.
class ReportInbox {
  public:
    /// A body above this is refused.
    static constexpr size_t kLargestBody = 16 * 1024 * 1024;

    struct Answer {
        int status = 0;    ///< 200 stored, 400 malformed, 413 too large, 500 not stored
        std::string note;  ///< the number, or what was wrong
    };

    /// Makes the folder when it is missing. False when that fails.
    bool Open(const std::filesystem::path& folder);
    Answer Receive(const std::string& body, nlohmann::json facts);

  private:
    std::mutex mutex_;
    std::filesystem::path folder_;
    unsigned lastNumber_ = 0;
};
