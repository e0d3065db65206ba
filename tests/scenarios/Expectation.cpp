#include "scenarios/Expectation.h"

#include <windows.h>
#include <time.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>
#include <system_error>

#include "devserver/ReportFacts.h"

namespace {

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

bool IsUpdate(const ScenarioRow& row) {
    return row.run.starts_with("--update");
}

bool IsInstall(const ScenarioRow& row) {
    return !IsUpdate(row) && !Has(row.run, "--uninstall") && !Has(row.run, "--generate-report") &&
           !Has(row.program, "uninstall");
}

bool PlacesVersion(const ScenarioRow& row) {
    return !row.after.empty() && row.after != nothing;
}

bool Removes(const ScenarioRow& row) {
    return row.after == nothing && !row.installed.empty();
}

// Its programs take the place of the former ones, whose folder stays when it has another name.
void PlaceVersion(State& state, const Stage& stage) {
    const ScenarioRow& row = stage.row;
    const Places& places = stage.places;
    Drop(state, places.mark + "app\\" + row.after + "\\");
    ChangeState(state,
                Installation(row.after, places.mark.empty() ? "full" : "second-" + row.after),
                places);
    ChangeState(state, {"roaming\\", std::string("roaming\\starter.log=") + sampleRecord}, places);
    Drop(state, "temp\\" + places.name + ".TEMP\\");
    if (IsInstall(row)) {
        Drop(state, "temp\\" + places.slug);
        state["temp\\syspin.log"] = sampleRecord;
    } else if (const std::size_t at = row.run.find("{temp}\\"); at != std::string::npos) {
        // What the update was made from.
        Drop(state, "temp\\" + row.run.substr(at + 7, row.run.find(' ', at) - at - 7));
    }
}

void RemoveProduct(State& state, const Stage& stage) {
    for (const char* place : {"app\\", "roaming\\", "entry\\"}) {
        Drop(state, stage.places.mark + place);
    }
    Drop(state, "menu\\" + stage.places.name);
    Drop(state, "temp\\" + stage.places.name + ".uninstall.exe");
    if (Removes(stage.row)) {
        state["temp\\syspin.log"] = sampleRecord;
    }
}

// With # for a time that lies within the run.
std::string WithoutTime(std::string line, time_t from) {
    const std::string mark = "--app-start-time=";
    if (const std::size_t at = line.find(mark); at != std::string::npos) {
        const time_t called = atoll(line.c_str() + at + mark.size()) / 1000;
        if (called >= from && called <= time(nullptr)) {
            line.replace(at + mark.size(), std::string::npos, "#");
        }
    }
    return line;
}

std::string StarterArguments(const ScenarioRow& row) {
    if (row.starts) {
        return *row.starts;
    }
    if (IsUpdate(row)) {
        return "--update-app --app-start-time=#";
    }
    const std::string program = std::filesystem::path(ExpandNames(row.program)).stem().string();
    const char* offline = row.program == "{offline}" ? "--is-offline-install" : "";
    return "--install-app=\"" + program + "\" " + offline + " --app-start-time=#";
}

// Of a report, without the mark in front.
std::string Piece(const std::string& report, const std::string& name) {
    const std::string mark = "\n // " + name + ":";
    const std::size_t start = report.find(mark) + mark.size() + 1;
    return report.substr(start, report.find("\n // ", start) - start);
}

// What a report begins with, in the server's words, without the system's text for the error.
std::string ReportHead(const std::string& report) {
    nlohmann::json facts = ReadReportFacts(report), words = facts["details"];
    words.insert(words.begin(), facts["failure"]);
    if (facts["operation"] != "") {
        words.insert(words.begin(), {facts["operation"], facts["stage"]});
    }
    std::string head;
    for (const std::string word : words) {
        head += (head.empty() ? "" : " | ") + word;
    }
    return head;
}

// The text has these parts, one behind the other.
void ExpectInOrder(const std::string& text, const Lines& parts) {
    std::size_t at = 0;
    for (const std::string& part : parts) {
        at = text.find(part, at);
        ASSERT_NE(at, std::string::npos) << "no " << part << " in " << text;
    }
}

}  // namespace

bool HasWindow(const ScenarioRow& row) {
    return !Has(row.run, "--console");
}

std::size_t ExpectedFileLists(const ScenarioRow& row) {
    const auto asks = [](const Step& step) {
        return step.box != nullptr && std::string(step.box) == "TextAccessBlocked";
    };
    return std::ranges::any_of(row.steps, asks) || Has(row.run, "--generate-report");
}

State ExpectedState(const Stage& stage) {
    const ScenarioRow& row = stage.row;
    State state = stage.before;
    if (row.after == nothing) {
        RemoveProduct(state, stage);
    } else if (PlacesVersion(row)) {
        PlaceVersion(state, stage);
    }
    if (!row.errors.empty() || ExpectedFileLists(row) != 0) {
        state["temp\\." + stage.places.slug + "-error-report.txt"] = savedReport;
    }
    if (row.program == "{copy}") {
        Drop(state, "temp\\" + stage.places.name + ".uninstall.exe");
    }
    ChangeState(state, row.left, stage.places);
    return state;
}

Lines ExpectedRequests(const Stage& stage) {
    const ScenarioRow& row = stage.row;
    const std::string prefix = stage.places.serverPath;
    const Lines all = {"https", "GET " + prefix + "/download/win/manifest.json 200", "https",
                       "GET " + prefix + "/" + row.archive + " 200"};
    const bool asks = IsInstall(row) && row.program != "{offline}";
    const int loads = row.loads >= 0 ? row.loads : asks ? 2 : 0;
    Lines requests = row.requests.value_or(Lines(all.begin(), all.begin() + 2 * loads));
    requests.resize(requests.size() + row.errors.size() + ExpectedFileLists(row),
                    (row.program == "{secure}" ? "secure POST " : "POST ") + prefix +
                        "/api/v1/service/reporterror 200");
    return requests;
}

Lines ExpectedCalls(const Stage& stage) {
    const ScenarioRow& row = stage.row;
    const std::string pin = "\\syspin.exe\" \"{shortcut}\" c:538", starter = "\"{starter}\" ";
    Lines calls;
    if (row.record) {
        calls = *row.record;
    } else if (Removes(row)) {
        calls = {starter + " --uninstall-app --app-start-time=#",
                 "\"{app}\\" + row.installed + pin + "7"};
    } else if (PlacesVersion(row)) {
        if (IsInstall(row) && Exists(PathOf("app\\" + row.after + "\\syspin.exe", stage.places))) {
            calls.push_back("\"{app}\\" + row.after + pin + "6");
        }
        if (row.appRuns) {
            calls.push_back(starter + "--kill-app");
        }
        if (Exists(PathOf("starter", stage.places))) {
            calls.push_back(starter + " " + StarterArguments(row));
        }
    }
    return Expanded(calls, stage.places);
}

Lines RecordedCalls(const Stage& stage) {
    const std::wstring record = PathOf("work\\scratch\\record.log");
    Lines calls;
    std::istringstream lines(Exists(record) ? ReadFileText(record) : "");
    for (std::string line; std::getline(lines, line);) {
        calls.push_back(WithoutTime(line, stage.startTime));
    }
    if (Removes(stage.row)) {
        // Nobody waits for the starter; an application that closes by itself is not told to.
        std::ranges::sort(calls, std::greater());
        std::erase_if(calls, [](const std::string& call) { return Has(call, "--kill-app"); });
    }
    return calls;
}

std::vector<std::wstring> ExpectedPrograms(const Stage& stage) {
    const ScenarioRow& row = stage.row;
    const bool starts = PlacesVersion(row) && Exists(PathOf("starter", stage.places));
    const std::wstring path = PathOf("app\\" + row.after + "\\{name}.exe", stage.places);
    return std::vector<std::wstring>(starts ? row.processes : 0, path);
}

Lines Failures() {
    Lines heads;
    for (const std::string& report : ReceivedReports()) {
        heads.push_back(ReportHead(report));
    }
    std::erase(heads, "list of open files");
    return heads;
}

void CheckReport(const std::string& report, const Stage& stage, bool isLast) {
    const ScenarioRow& row = stage.row;
    const std::string log = Piece(report, "installer log"), program = Piece(report, "cmd"),
                      temp = row.environment.empty() ? ExpandNames("{temp}") : "";
    // The copy may have rights that the first process lacks.
    const char* isAdmin = row.isPlainUser && !Has(log, "has --runas") ? "0" : "1";
    ExpectInOrder(report,
                  {" // local time: ", "\n // os: windows 10.0.0 64-bit",
                   "\n // cpu: num of cpu: ", "\n // mem: total: ", "\n // vers: ",
                   row.product == 0 ? ", installer ver: 1.0." : ", installer ver: ",
                   "\n // env: \n      TEMP: " + temp, "\n // cmd: ", "\n // curDir: " + temp,
                   std::string("\n // isAdmin: ") + isAdmin, "\n // installer log:",
                   "\n // processes:", program.substr(program.rfind('\\') + 1)});
    // The uninstaller works as a copy.
    EXPECT_TRUE(program == ExpandNames(row.program, stage.places) ||
                program == ExpandNames("{copy}", stage.places))
        << program;
    if (isLast) {
        ExpectInOrder(log, Expanded(row.logged, stage.places));
        const nlohmann::json facts = ReadReportFacts(report);
        const std::string text = std::system_category().message(static_cast<int>(row.code));
        EXPECT_TRUE(row.code == 0 ||
                    (facts["code"] == std::to_string(row.code) && Has(facts["codeText"], text)))
            << facts["code"] << facts["codeText"];
    }
}
