#include "ReportList.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <map>

#include "ReportInbox.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

// The head of a report is far shorter; what follows is the log.
constexpr size_t kLongestHead = 64 * 1024;
constexpr size_t kWidestCell = 44;

using Row = std::array<std::string, 9>;

// False for what is no plain file: a pipe would be waited for.
bool ReadStart(const fs::path& file, size_t most, std::string& content) {
    std::error_code failed;
    if (!fs::is_regular_file(file, failed)) {
        return false;
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return false;
    }
    content.resize(most);
    stream.read(content.data(), static_cast<std::streamsize>(most));
    content.resize(static_cast<size_t>(stream.gcount()));
    return true;
}

// 0 for what is no report's name. Two files are never of one number.
unsigned NumberOf(const fs::path& file) {
    const std::string stem = file.stem().string();
    unsigned number = 0;
    const auto [end, failed] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
    const bool isWhole = failed == std::errc() && end == stem.data() + stem.size();
    const bool isPadded = stem.size() == 4 || (stem.size() > 4 && stem[0] != '0');
    return isWhole && isPadded && file.extension() == ".txt" ? number : 0;
}

std::string NoteOfTime(const fs::path& text) {
    std::string content;
    if (!ReadStart(fs::path(text).replace_extension(".json"), kLongestHead, content)) {
        return {};
    }
    const Json notes = Json::parse(content, nullptr, false);
    const auto time = notes.is_object() ? notes.find("time") : notes.end();
    return time != notes.end() && time->is_string() ? time->get<std::string>() : "";
}

void CountEquals(std::vector<StoredReport>& reports) {
    std::map<std::array<std::string, 4>, unsigned> counts;
    const auto keyOf = [](const StoredReport& report) {
        const ReportFacts& facts = report.facts;
        return std::array{facts.operation, facts.stage, facts.failure, facts.code};
    };
    for (const StoredReport& report : reports) {
        ++counts[keyOf(report)];
    }
    for (StoredReport& report : reports) {
        report.equals = counts[keyOf(report)];
    }
}

size_t CountCharacters(const std::string& text) {
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

std::string FirstCharacters(const std::string& text, size_t count) {
    size_t at = 0;
    for (; at < text.size(); ++at) {
        if ((text[at] & 0xC0) != 0x80 && count-- == 0) {
            break;
        }
    }
    return text.substr(0, at);
}

std::string ToCell(const std::string& text) {
    std::string cell = WithoutControls(text);
    std::replace_if(
        cell.begin(), cell.end(), [](char byte) { return byte == '\n' || byte == '\t'; }, ' ');
    if (CountCharacters(cell) > kWidestCell) {
        cell = FirstCharacters(cell, kWidestCell - 3) + "...";
    }
    return cell.empty() ? "-" : cell;
}

Row ToRow(const StoredReport& report) {
    const ReportFacts& facts = report.facts;
    // "2026-11-22T22:27:16.043Z"
    std::string time = report.received.substr(0, 19);
    std::replace(time.begin(), time.end(), 'T', ' ');
    return {std::to_string(report.number),
            ToCell(time),
            ToCell(facts.operation),
            ToCell(facts.stage),
            ToCell(facts.failure),
            ToCell(facts.code),
            ToCell(facts.oldVersion) + " > " + ToCell(facts.newVersion),
            ToCell(facts.system),
            std::to_string(report.equals)};
}

}  // namespace

bool ListReports(const fs::path& folder, std::vector<StoredReport>& reports) {
    std::error_code failed;
    for (fs::directory_iterator file(folder, failed), end; !failed && file != end;
         file.increment(failed)) {
        StoredReport report;
        report.number = NumberOf(file->path());
        std::string text;
        if (report.number == 0 || !ReadStart(file->path(), kLongestHead, text)) {
            continue;
        }
        report.received = NoteOfTime(file->path());
        report.facts = ReadReportFacts(text);
        reports.push_back(std::move(report));
    }
    std::sort(reports.begin(), reports.end(),
              [](const auto& one, const auto& other) { return one.number < other.number; });
    CountEquals(reports);
    return !failed;
}

bool ReadReport(const fs::path& folder, unsigned number, std::string& text) {
    std::error_code failed;
    for (fs::directory_iterator file(folder, failed), end; !failed && file != end;
         file.increment(failed)) {
        if (number != 0 && NumberOf(file->path()) == number) {
            return ReadStart(file->path(), ReportInbox::kLargestBody, text);
        }
    }
    return false;
}

std::string WithoutControls(const std::string& text) {
    std::string clean;
    for (size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool isSecondRange =
            byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
        if (isSecondRange) {
            clean += '?';
            ++at;
        } else if (byte == '\r') {
            continue;
        } else {
            const bool isControl = (byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7F;
            clean += isControl ? '?' : text[at];
        }
    }
    return clean;
}

std::string FormatTable(const std::vector<StoredReport>& reports) {
    std::vector<Row> rows = {{"no", "received (UTC)", "operation", "stage", "failure", "code",
                              "old > new", "system", "equal"}};
    for (const StoredReport& report : reports) {
        rows.push_back(ToRow(report));
    }
    std::array<size_t, 9> widths{};
    for (const Row& row : rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], CountCharacters(row[column]));
        }
    }
    std::string table;
    for (const Row& row : rows) {
        for (size_t column = 0; column + 1 < row.size(); ++column) {
            table +=
                row[column] + std::string(widths[column] - CountCharacters(row[column]) + 2, ' ');
        }
        table += row.back() + '\n';
    }
    return table;
}

Json ToJson(const StoredReport& report) {
    const ReportFacts& facts = report.facts;
    return {{"number", report.number},        {"received", report.received},
            {"localTime", facts.localTime},   {"operation", facts.operation},
            {"stage", facts.stage},           {"failure", facts.failure},
            {"details", facts.details},       {"code", facts.code},
            {"codeText", facts.codeText},     {"oldVersion", facts.oldVersion},
            {"newVersion", facts.newVersion}, {"installerVersion", facts.installerVersion},
            {"system", facts.system},         {"equal", report.equals}};
}
