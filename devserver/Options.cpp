#include "Options.h"

#include <charconv>
#include <utility>

namespace fs = std::filesystem;

const char* UsageText() {
    return "devserver DIR [options]     serves DIR on 127.0.0.1 until SIGTERM or SIGINT\n"
           "  --port N          http port (8017; 0: a free one)\n"
           "  --https-port N    https as well, with a certificate made at the start (0: a free "
           "one)\n"
           "  --reports DIR     where received reports are stored\n"
           "  --cert-dir DIR    where the certificate is written (default: the reports' folder)\n"
           "  --log FILE        where requests are logged (default: standard output)\n"
           "  --fault RULE      misbehave from the start, for example\n"
           "                    path=/download/,fault=refuse,count=3; may be given several times\n"
           "Prints `http HOST:PORT`, `https HOST:PORT`, `certificate FILE`, `certificate-pem "
           "FILE`,\n"
           "`reports DIR` and then `ready`, one a line.\n";
}

namespace {

bool ReadPort(const std::string& text, int& port) {
    const char* end = text.data() + text.size();
    const auto [stop, failed] = std::from_chars(text.data(), end, port);
    return failed == std::errc() && stop == end && port >= 0 && port <= 65535;
}

std::string ReadOption(const std::string& name, const std::string& value,
                       ServerSettings& settings) {
    int port = 0;
    if (name == "--port" || name == "--https-port") {
        if (!ReadPort(value, port)) {
            return name + ": no port: " + value;
        }
        if (name == "--port") {
            settings.port = port;
        } else {
            settings.httpsPort = port;
        }
    } else if (name == "--reports") {
        settings.reports = value;
    } else if (name == "--cert-dir") {
        settings.certificates = value;
    } else if (name == "--log") {
        settings.logFile = value;
    } else if (name == "--fault") {
        FaultRule rule;
        if (const std::string wrong = ParseFaultOption(value, rule); !wrong.empty()) {
            return "--fault: " + wrong;
        }
        settings.faults.push_back(std::move(rule));
    } else {
        return "unknown option " + name;
    }
    return {};
}

}  // namespace

std::string ParseOptions(const std::vector<std::string>& arguments, ServerSettings& settings) {
    for (size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (!argument.starts_with("--")) {
            if (!settings.directory.empty()) {
                return "more than one folder to serve";
            }
            settings.directory = argument;
            continue;
        }
        if (at + 1 == arguments.size()) {
            return argument + " needs a value";
        }
        if (std::string wrong = ReadOption(argument, arguments[++at], settings); !wrong.empty()) {
            return wrong;
        }
    }
    if (settings.directory.empty()) {
        return "which folder is to be served?";
    }
    if (settings.port != 0 && settings.httpsPort == settings.port) {
        return "http and https need a port each";
    }
    if (settings.reports.empty()) {
        settings.reports = fs::temp_directory_path() / "devserver-reports";
    }
    if (settings.certificates.empty()) {
        settings.certificates = settings.reports;
    }
    return {};
}
