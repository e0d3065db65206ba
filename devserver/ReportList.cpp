#include "ReportList.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <vector>

#include "ReportFacts.h"
#include "ReportInbox.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

// The head of a report is far shorter; what follows is the log.
const size_t longestHead = 64 * 1024;
const size_t widestCell = 44;

using Row = std::array<std::string, 9>;

// Nothing for what is no plain file: a pipe would be waited for.
std::optional<std::string> ReadStart(const fs::path& file, size_t most) {
    std::error_code failed;
    std::ifstream stream;
    if (fs::is_regular_file(file, failed)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        return std::nullopt;
    }
    std::string content(most, '\0');
    stream.read(content.data(), static_cast<std::streamsize>(most));
    content.resize(static_cast<size_t>(stream.gcount()));
    return content;
}

std::string NoteOfTime(fs::path text) {
    const auto read = ReadStart(text.replace_extension(".json"), longestHead);
    const Json notes = Json::parse(read.value_or(""), nullptr, false);
    const Json time = notes.is_object() ? notes.value("time", Json()) : Json();
    return time.is_string() ? time.get<std::string>() : "";
}

bool IsInsideCharacter(char byte) {
    return (byte & 0xC0) == 0x80;
}

size_t CountCharacters(const std::string& text) {
    return text.size() -
           static_cast<size_t>(std::count_if(text.begin(), text.end(), IsInsideCharacter));
}

std::string FirstCharacters(const std::string& text, size_t count) {
    size_t at = 0;
    while (at < text.size() && (IsInsideCharacter(text[at]) || count-- > 0)) {
        ++at;
    }
    return text.substr(0, at);
}

std::string ToCell(const std::string& text) {
    std::string cell = WithoutControls(text);
    std::replace(cell.begin(), cell.end(), '\n', ' ');
    std::replace(cell.begin(), cell.end(), '\t', ' ');
    if (CountCharacters(cell) > widestCell) {
        cell = FirstCharacters(cell, widestCell - 3) + "...";
    }
    return cell.empty() ? "-" : cell;
}

Row ToRow(const Json& report) {
    const auto cell = [&](const char* key) { return ToCell(report[key]); };
    // "2026-11-22T22:27:16.043Z"
    std::string time = report["received"].get<std::string>().substr(0, 19);
    std::replace(time.begin(), time.end(), 'T', ' ');
    return {report["number"].dump(),
            ToCell(time),
            cell("operation"),
            cell("stage"),
            cell("failure"),
            cell("code"),
            cell("oldVersion") + " > " + cell("newVersion"),
            cell("system"),
            report["equal"].dump()};
}

}  // namespace

Json ListReports(const fs::path& folder) {
    std::map<unsigned, Json> found;
    for (const fs::directory_entry& file : fs::directory_iterator(folder)) {
        const unsigned number = ReportNumber(file.path());
        if (number == 0 || file.path().extension() != ".txt") {
            continue;
        }
        if (const auto text = ReadStart(file.path(), longestHead)) {
            found[number] = ReadReportFacts(*text);
            found[number]["number"] = number;
            found[number]["received"] = NoteOfTime(file.path());
        }
    }
    const auto keyOf = [](const Json& report) {
        return Json{report["operation"], report["stage"], report["failure"], report["code"]};
    };
    std::map<Json, unsigned> counts;
    for (const auto& [number, report] : found) {
        ++counts[keyOf(report)];
    }
    Json reports = Json::array();
    for (auto& [number, report] : found) {
        report["equal"] = counts[keyOf(report)];
        reports.push_back(std::move(report));
    }
    return reports;
}

std::optional<std::string> ReadReport(const fs::path& folder, unsigned number) {
    return ReadStart(folder / (ReportName(number) + ".txt"), ReportInbox::largestBody);
}

std::string WithoutControls(const std::string& text) {
    std::string clean;
    for (size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        // The second range of controls, U+0080 to U+009F.
        if (byte == 0xC2 && at + 1 < text.size() &&
            static_cast<unsigned char>(text[at + 1]) < 0xA0) {
            clean += '?';
            ++at;
        } else if (byte != '\r') {
            const bool isControl = (byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7F;
            clean += isControl ? '?' : text[at];
        }
    }
    return clean;
}

std::string FormatTable(const Json& reports) {
    std::vector<Row> rows = {{"no", "received (UTC)", "operation", "stage", "failure", "code",
                              "old > new", "system", "equal"}};
    for (const Json& report : reports) {
        rows.push_back(ToRow(report));
    }
    std::array<size_t, std::tuple_size_v<Row>> widths{};
    for (const Row& row : rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], CountCharacters(row[column]));
        }
    }
    std::string table;
    for (const Row& row : rows) {
        for (size_t column = 0; column + 1 < row.size(); ++column) {
            const size_t gap = widths[column] - CountCharacters(row[column]) + 2;
            table += row[column] + std::string(gap, ' ');
        }
        table += row.back() + '\n';
    }
    return table;
}
