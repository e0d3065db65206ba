#include "Faults.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace fs = std::filesystem;
using Json = nlohmann::json;

// cppcheck-suppress unknownMacro ; the library's headers are not read
NLOHMANN_JSON_SERIALIZE_ENUM(FaultKind, {{FaultKind::Unknown, nullptr},
                                         {FaultKind::Refuse, "refuse"},
                                         {FaultKind::NotFound, "404"},
                                         {FaultKind::ServerError, "500"},
                                         {FaultKind::Cut, "cut"},
                                         {FaultKind::Slow, "slow"},
                                         {FaultKind::Stall, "stall"},
                                         {FaultKind::Redirect, "redirect"},
                                         {FaultKind::NoLength, "no-length"}})

std::string FaultName(FaultKind kind) {
    return Json(kind);
}

FaultRule ParseFault(const std::string& text) {
    const Json object = Json::parse(text);
    for (const auto& [key, value] : object.items()) {
        const auto keys = {"path", "fault", "count", "bytes_per_second", "after", "to"};
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
            throw std::invalid_argument(key + " is not known");
        }
    }
    FaultRule rule;
    rule.path = object.at("path").get<std::string>();
    rule.kind = object.at("fault").get<FaultKind>();
    rule.count = object.value("count", rule.count);
    rule.bytesPerSecond = object.value("bytes_per_second", rule.bytesPerSecond);
    rule.after = object.value("after", rule.after);
    rule.to = object.value("to", rule.to);
    rule.pattern = rule.path;
    const std::pair<bool, const char*> faults[] = {
        {!rule.path.starts_with('/'), "path must begin with /"},
        {rule.kind == FaultKind::Unknown, "there is no such fault"},
        {rule.count == 0 || rule.count < -1, "count must be 1 or more, or -1"},
        {rule.bytesPerSecond < 1, "bytes_per_second must be 1 or more"},
        {rule.after < 0, "after must be 0 or more"},
        {rule.kind == FaultKind::Redirect && rule.to.empty(), "redirect needs to"}};
    for (const auto& [isWrong, why] : faults) {
        if (isWrong) {
            throw std::invalid_argument(why);
        }
    }
    return rule;
}

void Faults::ReadAgain() {
    std::error_code failed;
    const std::pair now(fs::last_write_time(followed, failed), fs::file_size(followed, failed));
    if (now == stamp) {
        return;
    }
    std::vector<FaultRule> read;
    std::ifstream lines(followed);
    for (std::string line; std::getline(lines, line);) {
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            read.push_back(ParseFault(line));
        }
    }
    rules = std::move(read);
    stamp = now;
}

void Faults::Follow(const fs::path& file) {
    const std::lock_guard lock(mutex);
    followed = file;
    ReadAgain();
}

void Faults::Add(FaultRule rule) {
    const std::lock_guard lock(mutex);
    rules.push_back(std::move(rule));
}

std::optional<FaultRule> Faults::Take(const std::string& path) {
    const std::lock_guard lock(mutex);
    if (!followed.empty()) {
        try {
            ReadAgain();
        } catch (const std::exception& wrong) {
            std::fprintf(stderr, "devserver: %s: %s\n", followed.c_str(), wrong.what());
        }
    }
    for (FaultRule& rule : rules) {
        const bool fits = path.starts_with(rule.path) || std::regex_match(path, rule.pattern);
        if (!fits || rule.count == 0) {
            continue;
        }
        rule.count -= rule.count > 0 ? 1 : 0;
        return rule;
    }
    return std::nullopt;
}

void Faults::Clear() {
    const std::lock_guard lock(mutex);
    rules.clear();
}
