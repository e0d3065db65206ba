#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include "ReportList.h"

namespace {

constexpr const char* kUsage =
    "reports DIR [--show N] [--json]     lists the error reports that the server stored in DIR\n"
    "  --show N    one of them whole\n"
    "  --json      as JSON\n";

struct Call {
    std::string folder;
    unsigned number = 0;
    bool asJson = false;
};

int Fail(int code, const std::string& why) {
    std::fprintf(stderr, "reports: %s\n", why.c_str());
    return code;
}

std::string ParseCall(const std::vector<std::string>& arguments, Call& call) {
    for (size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (argument == "--json") {
            call.asJson = true;
        } else if (argument == "--show") {
            const std::string value = at + 1 < arguments.size() ? arguments[++at] : "";
            const char* end = value.data() + value.size();
            const auto [stop, failed] = std::from_chars(value.data(), end, call.number);
            if (failed != std::errc() || stop != end || call.number == 0) {
                return "--show needs the number of a report";
            }
        } else if (argument.starts_with("-") || !call.folder.empty()) {
            return "unknown argument " + argument;
        } else {
            call.folder = argument;
        }
    }
    return call.folder.empty() ? "no folder given" : "";
}

void PrintJson(const nlohmann::json& json) {
    // A report may be cut in the middle of a character where its head is read.
    const auto replaceBadBytes = nlohmann::json::error_handler_t::replace;
    std::puts(json.dump(2, ' ', false, replaceBadBytes).c_str());
}

int Show(const Call& call, const std::vector<StoredReport>& reports) {
    std::string text;
    if (!ReadReport(call.folder, call.number, text)) {
        return Fail(1, "no report " + std::to_string(call.number) + " in " + call.folder);
    }
    if (!call.asJson) {
        std::puts(WithoutControls(text).c_str());
        return 0;
    }
    for (const StoredReport& report : reports) {
        if (report.number == call.number) {
            nlohmann::json whole = ToJson(report);
            whole["text"] = text;
            PrintJson(whole);
        }
    }
    return 0;
}

int List(const Call& call, const std::vector<StoredReport>& reports) {
    if (call.asJson) {
        nlohmann::json list = nlohmann::json::array();
        for (const StoredReport& report : reports) {
            list.push_back(ToJson(report));
        }
        PrintJson(list);
    } else if (reports.empty()) {
        std::puts("no reports");
    } else {
        std::fputs(FormatTable(reports).c_str(), stdout);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    for (const std::string& argument : arguments) {
        if (argument == "--help" || argument == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
    }
    Call call;
    if (const std::string wrong = ParseCall(arguments, call); !wrong.empty()) {
        return Fail(2, wrong + "; see --help");
    }
    std::vector<StoredReport> reports;
    if (!ListReports(call.folder, reports)) {
        return Fail(1, "the folder cannot be read: " + call.folder);
    }
    return call.number != 0 ? Show(call, reports) : List(call, reports);
}
