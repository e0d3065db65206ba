#include "ReportInbox.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <utility>

#include "ReportText.h"

namespace fs = std::filesystem;

namespace {

bool WriteWhole(const fs::path& target, const std::string& content) {
    fs::path unfinished = target;
    unfinished += ".part";
    std::ofstream file(unfinished, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    std::error_code failed;
    if (file) {
        fs::rename(unfinished, target, failed);
    }
    if (file && !failed) {
        return true;
    }
    fs::remove(unfinished, failed);
    return false;
}

unsigned NumberOf(const fs::path& file) {
    const std::string stem = file.stem().string();
    unsigned number = 0;
    const auto [end, failed] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
    return failed == std::errc() && end == stem.data() + stem.size() ? number : 0;
}

}  // namespace

bool ReportInbox::Open(const fs::path& folder) {
    std::error_code failed;
    fs::create_directories(folder, failed);
    fs::directory_iterator files(folder, failed);
    if (failed) {
        return false;
    }
    for (const fs::directory_entry& file : files) {
        lastNumber_ = std::max(lastNumber_, NumberOf(file.path()));
    }
    folder_ = folder;
    return true;
}

ReportInbox::Answer ReportInbox::Receive(const std::string& body, nlohmann::json facts) {
    if (body.size() > kLargestBody) {
        return {413, "report refused: too large"};
    }
    std::string text;
    if (const std::string wrong = DecodeReportBody(body, text); !wrong.empty()) {
        return {400, "report refused: " + wrong};
    }

    facts["bodyBytes"] = body.size();
    facts["textBytes"] = text.size();
    // Header values are the client's; whatever is no UTF-8 in them must not throw here.
    const auto replaceBadBytes = nlohmann::json::error_handler_t::replace;
    const std::string factsText = facts.dump(2, ' ', false, replaceBadBytes) + '\n';

    const std::lock_guard lock(mutex_);
    char number[16];
    std::snprintf(number, sizeof number, "%04u", lastNumber_ + 1);
    const std::pair<const char*, const std::string&> files[] = {
        {".raw", body}, {".json", factsText}, {".txt", text}};
    for (const auto& [extension, content] : files) {
        if (WriteWhole(folder_ / (std::string(number) + extension), content)) {
            continue;
        }
        std::error_code ignored;
        for (const auto& [written, unused] : files) {
            fs::remove(folder_ / (std::string(number) + written), ignored);
        }
        return {500, "report not stored: the folder cannot be written"};
    }
    ++lastNumber_;
    return {200, std::string("report ") + number};
}
