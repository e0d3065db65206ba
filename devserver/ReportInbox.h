#pragma once

#include <filesystem>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

// "0042" for 42: the name of a report's files, but for the extension.
std::string ReportName(unsigned number);
// The number of the report that a file of this name belongs to; 0 for other names.
unsigned ReportNumber(const std::filesystem::path& file);

// Stores received reports as NNNN.raw (the body), NNNN.json (`facts` and the sizes) and NNNN.txt
// (the readable text, UTF-8), numbered on from what the folder holds. The .txt appears whole and
// last: where it is, the other two are. May be used from any thread.
class ReportInbox {
  public:
    // A body above this is refused.
    static constexpr size_t largestBody = 16 * 1024 * 1024;

    struct Answer {
        int status = 0;    // 200 stored, 400 malformed, 500 not stored
        std::string note;  // the number, or what was wrong
    };

    // Makes the folder when it is missing. False when that fails.
    bool Open(const std::filesystem::path& path);
    // The body is { "message": "<percent-encoded UTF-8>" }.
    Answer Receive(const std::string& body, nlohmann::json facts);

  private:
    std::mutex mutex;
    std::filesystem::path folder;
    unsigned lastNumber = 0;
};
