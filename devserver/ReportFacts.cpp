#include "ReportFacts.h"

#include <utility>

#include "FailureNames.h"

namespace {

constexpr const char* kSeparator = " : ";
constexpr size_t kSeparatorLength = 3;

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

std::string TrimEnd(std::string text) {
    const size_t last = text.find_last_not_of(" \r\n");
    text.erase(last == std::string::npos ? 0 : last + 1);
    return text;
}

// Takes " : [5] Access denied." off the end of the head. The message before it may hold brackets of
// its own, in a path.
void TakeSystemError(std::string& head, ReportFacts& facts) {
    const std::string mark = std::string(kSeparator) + "[";
    for (size_t at = head.rfind(mark); at != std::string::npos;
         at = at == 0 ? std::string::npos : head.rfind(mark, at - 1)) {
        const size_t digits = at + mark.size();
        const size_t end = head.find_first_not_of("0123456789", digits);
        if (end == std::string::npos || end == digits || head.compare(end, 2, "] ") != 0) {
            continue;
        }
        facts.code = head.substr(digits, end - digits);
        facts.codeText = TrimEnd(head.substr(end + 2));
        head.erase(at);
        return;
    }
    if (head.ends_with(kSeparator)) {
        head.erase(head.size() - kSeparatorLength);
    }
}

std::vector<std::string> SplitMessage(const std::string& message) {
    std::vector<std::string> pieces;
    size_t from = 0;
    for (size_t at; (at = message.find(kSeparator, from)) != std::string::npos;
         from = at + kSeparatorLength) {
        pieces.push_back(message.substr(from, at - from));
    }
    pieces.push_back(message.substr(from));
    return pieces;
}

void ReadMessage(const std::string& message, ReportFacts& facts) {
    std::vector<std::string> pieces = SplitMessage(message);
    if (pieces.size() < 3 || !IsOperation(pieces[0])) {
        facts.failure = NameFailure(message);
        return;
    }
    facts.operation = NameOperation(pieces[0]);
    facts.stage = NameStage(pieces[1]);
    facts.failure = NameFailure(pieces[2]);
    facts.details.assign(pieces.begin() + 3, pieces.end());
}

// "1.2.3 old lm: 1.2.2, installer ver: 1.0.0.0"
void ReadVersions(const std::string& line, ReportFacts& facts) {
    facts.newVersion = Between(" " + line, " lm ver: ", ",");
    facts.installerVersion = Between(line, ", installer ver: ", "\n");
    facts.oldVersion = Between(facts.newVersion, " old lm: ", "\n");
    facts.newVersion = facts.newVersion.substr(0, facts.newVersion.find(" old lm: "));
}

}  // namespace

ReportFacts ReadReportFacts(const std::string& text) {
    ReportFacts facts;
    const size_t timeMark = text.find(" // local time: ");
    std::string head = text.substr(0, timeMark);
    if (timeMark == std::string::npos) {
        facts.failure = TrimEnd(head.substr(0, head.find('\n')));
        return facts;
    }
    TakeSystemError(head, facts);
    ReadMessage(head, facts);
    // Behind this the user's log and processes stand, with any text.
    const std::string machine =
        text.substr(timeMark, text.find("\n // installer log:\n", timeMark) - timeMark);
    facts.localTime = Between(machine, " // local time: ", "\n");
    facts.system = Between(machine, "\n // os: ", "\n");
    ReadVersions(Between(machine, "\n // vers: ", "\n"), facts);
    return facts;
}
