#include "kit/JsonText.h"

#include <set>
#include <vector>

namespace {

using nlohmann::json;

/// The keys of the objects that are open while a text is parsed, by depth.
struct OpenKeys {
    std::vector<std::set<std::string>> seen;
    std::vector<std::string> path;

    void Open(std::size_t depth) {
        seen.resize(depth + 1);
        seen[depth].clear();
    }

    /// Returns whether the object has it already. It belongs to the object opened one level above.
    bool Add(std::size_t depth, const std::string& key) {
        path.resize(depth);
        path.back() = key;
        return !seen[depth - 1].insert(key).second;
    }

    std::string DescribePath() const {
        std::string whole;
        for (const std::string& key : path) {
            whole += (whole.empty() ? "" : ".") + key;
        }
        return whole;
    }
};

}  // namespace

json ParseObject(std::string_view text, const char* file, const char* contents,
                 Findings& findings) {
    OpenKeys keys;
    const auto note = [&](int depth, json::parse_event_t event, json& value) {
        if (event == json::parse_event_t::object_start) {
            keys.Open(static_cast<std::size_t>(depth));
        } else if (event == json::parse_event_t::key &&
                   keys.Add(static_cast<std::size_t>(depth), value.get_ref<std::string&>())) {
            AddError(findings, file, keys.DescribePath(), "is there twice; expected it once");
        }
        return true;
    };
    json object;
    try {
        object = json::parse(text, note);
    } catch (const json::exception& error) {
        // In front of the words stands the library's number.
        const std::string words = error.what();
        AddError(findings, file, "", "is no JSON: " + words.substr(words.find("] ") + 2));
        return json::object();
    }
    if (!object.is_object()) {
        AddError(findings, file, "", DescribeValue(object) + "; expected an object of " + contents);
        return json::object();
    }
    return object;
}

std::string DescribeValue(const json& value) {
    // The contents may be of any depth.
    if (value.is_structured()) {
        return std::string("is an ") + value.type_name();
    }
    return "is " + value.dump();
}
