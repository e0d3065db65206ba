#include "services/JsonTree.h"

#include <utility>
#include <vector>

namespace {

using Json = nlohmann::json;

// Receives the parser's events (the library's SAX interface) and builds the values. False ends the
// parsing.
class TreeBuilder {
  public:
    explicit TreeBuilder(Json& root) : top(root) {}

    // The library calls them by these names.
    // NOLINTBEGIN(readability-identifier-naming)
    bool null() {
        return Leaf(nullptr);
    }
    bool boolean(bool value) {
        return Leaf(value);
    }
    bool number_integer(Json::number_integer_t value) {
        return Leaf(value);
    }
    bool number_unsigned(Json::number_unsigned_t value) {
        return Leaf(value);
    }
    bool number_float(Json::number_float_t value, const std::string&) {
        return Leaf(value);
    }
    bool string(std::string& value) {
        return Leaf(std::move(value));
    }
    bool binary(Json::binary_t&) {
        // Not in texts.
        return false;
    }
    bool start_object(std::size_t) {
        open.push_back(&Add(Json::object()));
        return true;
    }
    bool key(std::string& name) {
        member = &(*open.back())[name];
        return true;
    }
    bool end_object() {
        open.pop_back();
        return true;
    }
    bool start_array(std::size_t) {
        open.push_back(&Add(Json::array()));
        return true;
    }
    bool end_array() {
        open.pop_back();
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) {
        return false;
    }
    // NOLINTEND(readability-identifier-naming)

  private:
    Json& Add(Json value) {
        if (open.empty()) {
            top = std::move(value);
            return top;
        }
        if (open.back()->is_array()) {
            open.back()->push_back(std::move(value));
            return open.back()->back();
        }
        *member = std::move(value);
        return *member;
    }

    template <typename Value>
    bool Leaf(Value&& value) {
        Add(Json(std::forward<Value>(value)));
        return true;
    }

    Json& top;
    // The containers around the current place. A parent does not move while its child is open.
    std::vector<Json*> open;
    // Where the value behind the last key goes.
    Json* member = nullptr;
};

}  // namespace

bool ParseJson(const std::string& text, Json& root) {
    TreeBuilder builder(root);
    return Json::sax_parse(text, &builder);
}
