#include <cstdio>
#include <cxxopts.hpp>
#include <stdexcept>
#include <string>

#include "ReportList.h"

using Json = nlohmann::json;

namespace {

void PrintJson(const Json& json) {
    // A report may be cut in the middle of a character where its head is read.
    std::puts(json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void Show(const std::string& folder, unsigned number, bool asJson) {
    const auto text = ReadReport(folder, number);
    if (!text) {
        throw std::runtime_error("no report " + std::to_string(number) + " in " + folder);
    }
    if (!asJson) {
        std::puts(WithoutControls(*text).c_str());
        return;
    }
    for (Json report : ListReports(folder)) {
        if (report["number"] == number) {
            report["text"] = *text;
            PrintJson(report);
        }
    }
}

void List(const std::string& folder, bool asJson) {
    const Json reports = ListReports(folder);
    if (asJson) {
        PrintJson(reports);
    } else {
        std::fputs(reports.empty() ? "no reports\n" : FormatTable(reports).c_str(), stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        cxxopts::Options options("reports",
                                 "Lists the error reports that the server stored in DIR.");
        auto add = options.positional_help("DIR").add_options();
        add("show", "one of them whole", cxxopts::value<unsigned>(), "N");
        add("json", "as JSON");
        add("h,help", "this text");
        options.add_options("hidden")("dir", "", cxxopts::value<std::string>());
        options.parse_positional("dir");
        const cxxopts::ParseResult given = options.parse(argc, argv);
        if (given.count("help") != 0) {
            std::puts(options.help({""}).c_str());
            return 0;
        }
        if (given.count("dir") != 1 || !given.unmatched().empty()) {
            throw std::runtime_error("which folder? See --help");
        }
        const std::string folder = given["dir"].as<std::string>();
        const bool asJson = given.count("json") != 0;
        if (given.count("show") != 0) {
            Show(folder, given["show"].as<unsigned>(), asJson);
        } else {
            List(folder, asJson);
        }
        return 0;
    } catch (const std::exception& wrong) {
        std::fprintf(stderr, "reports: %s\n", wrong.what());
        return 1;
    }
}
