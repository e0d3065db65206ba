#include "ReportInbox.h"

#include <utf8cpp/utf8.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

// False when the text is no number as a whole.
bool ReadNumber(std::string_view text, int base, unsigned& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, failed] = std::from_chars(text.data(), end, number, base);
    return failed == std::errc() && stop == end;
}

bool DecodePercent(std::string_view encoded, std::string& text) {
    for (size_t at = 0; at < encoded.size(); ++at) {
        if (encoded[at] != '%') {
            text += encoded[at];
            continue;
        }
        const std::string_view digits = encoded.substr(at + 1, 2);
        unsigned byte = 0;
        if (digits.size() < 2 || !ReadNumber(digits, 16, byte)) {
            return false;
        }
        text += static_cast<char>(byte);
        at += 2;
    }
    return true;
}

// Takes the readable text out of a report's body. Returns an empty text, or what is wrong with the
// body. Nesting however deep costs no memory.
std::string DecodeBody(const std::string& body, std::string& text) {
    const auto keepShallow = [](int depth, Json::parse_event_t, Json&) { return depth <= 1; };
    const Json report = Json::parse(body, keepShallow, false);
    if (!report.is_object()) {
        return "not a JSON object";
    }
    const auto message = report.find("message");
    if (message == report.end() || !message->is_string()) {
        return "no text \"message\"";
    }
    if (!DecodePercent(message->get_ref<const std::string&>(), text)) {
        return "bad percent sequence";
    }
    return utf8::is_valid(text.begin(), text.end()) ? "" : "not UTF-8";
}

bool Write(const fs::path& file, const std::string& content) {
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    stream.close();
    return !stream.fail();
}

}  // namespace

std::string ReportName(unsigned number) {
    char name[16];
    std::snprintf(name, sizeof name, "%04u", number);
    return name;
}

unsigned ReportNumber(const fs::path& file) {
    unsigned number = 0;
    const std::string name = file.stem().string();
    return ReadNumber(name, 10, number) && ReportName(number) == name ? number : 0;
}

bool ReportInbox::Open(const fs::path& path) {
    std::error_code failed;
    fs::create_directories(path, failed);
    fs::directory_iterator files(path, failed);
    if (failed) {
        return false;
    }
    for (const fs::directory_entry& file : files) {
        lastNumber = std::max(lastNumber, ReportNumber(file.path()));
    }
    folder = path;
    return true;
}

ReportInbox::Answer ReportInbox::Receive(const std::string& body, Json facts) {
    std::string text;
    if (const std::string wrong = DecodeBody(body, text); !wrong.empty()) {
        return {400, "report refused: " + wrong};
    }
    facts["bodyBytes"] = body.size();
    facts["textBytes"] = text.size();
    // Header values are the client's; whatever is no UTF-8 in them must not throw here.
    const std::string notes = facts.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';

    const std::lock_guard lock(mutex);
    const std::string name = ReportName(lastNumber + 1);
    const auto file = [&](const char* extension) { return folder / (name + extension); };
    std::error_code failed;
    const bool isWritten =
        Write(file(".raw"), body) && Write(file(".json"), notes) && Write(file(".part"), text);
    fs::rename(file(".part"), file(".txt"), failed);
    if (!isWritten || failed) {
        for (const char* extension : {".raw", ".json", ".part"}) {
            fs::remove(file(extension), failed);
        }
        return {500, "report not stored: the folder cannot be written"};
    }
    ++lastNumber;
    return {200, "report " + name};
}
