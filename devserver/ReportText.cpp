#include "ReportText.h"

#include <nlohmann/json.hpp>

namespace {

int HexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

}  // namespace

bool DecodePercent(std::string_view encoded, std::string& text) {
    text.clear();
    for (size_t at = 0; at < encoded.size(); ++at) {
        if (encoded[at] != '%') {
            text += encoded[at];
            continue;
        }
        if (encoded.size() - at < 3) {
            return false;
        }
        const int high = HexDigit(encoded[at + 1]);
        const int low = HexDigit(encoded[at + 2]);
        if (high < 0 || low < 0) {
            return false;
        }
        text += static_cast<char>(high * 16 + low);
        at += 2;
    }
    return true;
}

bool IsUtf8(std::string_view text) {
    struct Lead {
        unsigned char first, last, secondLeast, secondMost;
        size_t length;
    };
    static constexpr Lead kLeads[] = {
        {0x00, 0x7f, 0x00, 0x00, 1}, {0xc2, 0xdf, 0x80, 0xbf, 2}, {0xe0, 0xe0, 0xa0, 0xbf, 3},
        {0xe1, 0xec, 0x80, 0xbf, 3}, {0xed, 0xed, 0x80, 0x9f, 3}, {0xee, 0xef, 0x80, 0xbf, 3},
        {0xf0, 0xf0, 0x90, 0xbf, 4}, {0xf1, 0xf3, 0x80, 0xbf, 4}, {0xf4, 0xf4, 0x80, 0x8f, 4}};
    const auto byteAt = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
    for (size_t at = 0; at < text.size();) {
        const Lead* lead = nullptr;
        for (const Lead& row : kLeads) {
            if (byteAt(at) >= row.first && byteAt(at) <= row.last) {
                lead = &row;
            }
        }
        if (lead == nullptr || text.size() - at < lead->length) {
            return false;
        }
        for (size_t next = 1; next < lead->length; ++next) {
            const unsigned char least = next == 1 ? lead->secondLeast : 0x80;
            const unsigned char most = next == 1 ? lead->secondMost : 0xbf;
            if (byteAt(at + next) < least || byteAt(at + next) > most) {
                return false;
            }
        }
        at += lead->length;
    }
    return true;
}

std::string DecodeReportBody(std::string_view body, std::string& text) {
    using Json = nlohmann::json;
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
    return IsUtf8(text) ? "" : "not UTF-8";
}
