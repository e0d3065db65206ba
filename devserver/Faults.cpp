#include "Faults.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace {

using Json = nlohmann::json;

constexpr std::pair<const char*, FaultKind> kNames[] = {
    {"refuse", FaultKind::refuse},    {"404", FaultKind::notFound}, {"500", FaultKind::serverError},
    {"cut", FaultKind::cut},          {"slow", FaultKind::slow},    {"stall", FaultKind::stall},
    {"redirect", FaultKind::redirect}};

std::string ReadText(const Json& value, std::string& field) {
    if (!value.is_string()) {
        return "must be a text";
    }
    field = value.get<std::string>();
    const auto isControl = [](unsigned char byte) { return byte < 0x20; };
    return std::any_of(field.begin(), field.end(), isControl) ? "holds a control character" : "";
}

std::string ReadNumber(const Json& value, int64_t least, int64_t& field) {
    if (!value.is_number_integer() || value.get<int64_t>() < least) {
        return "must be a whole number, " + std::to_string(least) + " or more";
    }
    field = value.get<int64_t>();
    return {};
}

std::string ReadKind(const Json& value, FaultKind& kind) {
    for (const auto& [name, named] : kNames) {
        if (value == name) {
            kind = named;
            return {};
        }
    }
    return "must be one of refuse, 404, 500, cut, slow, stall, redirect";
}

std::string ReadField(const std::string& key, const Json& value, FaultRule& rule) {
    int64_t number = 0;
    std::string wrong;
    if (key == "path") {
        wrong = ReadText(value, rule.path);
    } else if (key == "to") {
        wrong = ReadText(value, rule.to);
    } else if (key == "fault") {
        wrong = ReadKind(value, rule.kind);
    } else if (key == "count") {
        wrong = ReadNumber(value, -1, rule.count);
        if (wrong.empty() && rule.count == 0) {
            wrong = "must not be 0";
        }
    } else if (key == "bytes_per_second") {
        wrong = ReadNumber(value, 1, number);
        rule.bytesPerSecond = static_cast<uint64_t>(number);
    } else if (key == "after") {
        wrong = ReadNumber(value, 0, number);
        rule.after = static_cast<uint64_t>(number);
    } else {
        wrong = "is not known";
    }
    return wrong.empty() ? wrong : key + " " + wrong;
}

std::string ReadRule(const Json& object, FaultRule& rule) {
    rule = FaultRule{};
    if (!object.is_object()) {
        return "a fault is a JSON object";
    }
    if (!object.contains("fault")) {
        return "fault is missing";
    }
    for (const auto& [key, value] : object.items()) {
        if (std::string wrong = ReadField(key, value, rule); !wrong.empty()) {
            return wrong;
        }
    }
    if (rule.path.empty() || rule.path[0] != '/') {
        return "path must begin with /";
    }
    if (rule.kind == FaultKind::redirect && rule.to.empty()) {
        return "redirect needs to";
    }
    try {
        rule.pattern = std::regex(rule.path);
    } catch (const std::regex_error&) {
        return "path is no valid expression";
    }
    return {};
}

}  // namespace

const char* FaultName(FaultKind kind) {
    for (const auto& [name, named] : kNames) {
        if (named == kind) {
            return name;
        }
    }
    return "";
}

std::string ParseFaultJson(std::string_view text, FaultRule& rule) {
    return ReadRule(Json::parse(text, nullptr, false), rule);
}

std::string ParseFaultOption(std::string_view text, FaultRule& rule) {
    Json object = Json::object();
    while (!text.empty()) {
        const std::string_view pair = text.substr(0, text.find(','));
        text.remove_prefix(std::min(text.size(), pair.size() + 1));
        const size_t equals = pair.find('=');
        if (equals == std::string_view::npos) {
            return "\"" + std::string(pair) + "\" is no key=value";
        }
        const std::string key(pair.substr(0, equals));
        const std::string value(pair.substr(equals + 1));
        const bool isText = key == "path" || key == "fault" || key == "to";
        // What is no number stays a text, and is then refused like one.
        const Json number = isText ? Json() : Json::parse(value, nullptr, false);
        object[key] = number.is_number() ? number : Json(value);
    }
    return ReadRule(object, rule);
}

void Faults::Add(FaultRule rule) {
    const std::lock_guard lock(mutex_);
    rules_.push_back(std::move(rule));
}

std::optional<FaultRule> Faults::Take(const std::string& path) {
    const std::lock_guard lock(mutex_);
    for (FaultRule& rule : rules_) {
        if (rule.count == 0) {
            continue;
        }
        if (!path.starts_with(rule.path) && !std::regex_match(path, rule.pattern)) {
            continue;
        }
        if (rule.count > 0) {
            --rule.count;
        }
        return rule;
    }
    return std::nullopt;
}

void Faults::Clear() {
    const std::lock_guard lock(mutex_);
    rules_.clear();
}
