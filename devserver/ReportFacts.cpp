#include "ReportFacts.h"

#include <string_view>
#include <vector>

#include "FailureNames.h"

using Json = nlohmann::json;

namespace {

const std::string separator = " : ";

// What stands between a mark and an end, "" without the mark, up to the end of the text without
// the end.
std::string Between(const std::string& text, const std::string& mark, const std::string& end) {
    size_t from = text.find(mark);
    if (from == std::string::npos) {
        return {};
    }
    from += mark.size();
    return text.substr(from, text.find(end, from) - from);
}

std::string TrimEnd(const std::string& text) {
    return text.substr(0, text.find_last_not_of(" \r\n") + 1);
}

// Takes " : [5] Access denied." off the end of the head. The message before it may hold brackets of
// its own, in a path.
void TakeSystemError(std::string& head, Json& facts) {
    const std::string mark = separator + "[";
    for (size_t at = head.rfind(mark); at != std::string::npos;
         at = at == 0 ? std::string::npos : head.rfind(mark, at - 1)) {
        const size_t digits = at + mark.size();
        const size_t end = head.find_first_not_of("0123456789", digits);
        if (end != std::string::npos && end != digits && head.compare(end, 2, "] ") == 0) {
            facts["code"] = head.substr(digits, end - digits);
            facts["codeText"] = TrimEnd(head.substr(end + 2));
            head.erase(at);
            return;
        }
    }
    if (head.ends_with(separator)) {
        head.erase(head.size() - separator.size());
    }
}

void ReadMessage(const std::string& message, Json& facts) {
    std::vector<std::string> pieces;
    size_t from = 0;
    for (size_t at; (at = message.find(separator, from)) != std::string::npos;
         from = at + separator.size()) {
        pieces.push_back(message.substr(from, at - from));
    }
    pieces.push_back(message.substr(from));
    if (pieces.size() < 3 || NameOperation(pieces[0]) == pieces[0]) {
        facts["failure"] = NameFailure(message);
        return;
    }
    facts["operation"] = NameOperation(pieces[0]);
    facts["stage"] = NameStage(pieces[1]);
    facts["failure"] = NameFailure(pieces[2]);
    facts["details"] = std::vector<std::string>(pieces.begin() + 3, pieces.end());
}

// "lm ver: 1.2.3 old lm: 1.2.2, installer ver: 1.0.0.0"
void ReadVersions(const std::string& line, Json& facts) {
    const std::string versions = Between(" " + line, " lm ver: ", ",");
    facts["newVersion"] = versions.substr(0, versions.find(" old lm: "));
    facts["oldVersion"] = Between(versions, " old lm: ", "\n");
    facts["installerVersion"] = Between(line, ", installer ver: ", "\n");
}

}  // namespace

Json ReadReportFacts(const std::string& text) {
    Json facts = {{"details", Json::array()}};
    for (const char* key : {"operation", "stage", "failure", "code", "codeText", "localTime",
                            "system", "newVersion", "oldVersion", "installerVersion"}) {
        facts[key] = "";
    }
    const size_t timeMark = text.find(" // local time: ");
    std::string head = text.substr(0, timeMark);
    if (timeMark == std::string::npos) {
        facts["failure"] = TrimEnd(head.substr(0, head.find('\n')));
        return facts;
    }
    TakeSystemError(head, facts);
    ReadMessage(head, facts);
    // Behind this the user's log and processes stand, with any text.
    const std::string machine =
        text.substr(timeMark, text.find("\n // installer log:\n", timeMark) - timeMark);
    facts["localTime"] = Between(machine, " // local time: ", "\n");
    facts["system"] = Between(machine, "\n // os: ", "\n");
    ReadVersions(Between(machine, "\n // vers: ", "\n"), facts);
    return facts;
}
