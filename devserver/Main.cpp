#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cxxopts.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "Answers.h"
#include "Certificate.h"

namespace fs = std::filesystem;

namespace {

cxxopts::Options DescribeOptions() {
    using cxxopts::value;
    cxxopts::Options options(
        "devserver",
        "Serves DIR on 127.0.0.1 until SIGTERM or SIGINT. Prints `http HOST:PORT`, `https\n"
        "HOST:PORT`, `certificate FILE`, `certificate-pem FILE`, `reports DIR` and then `ready`,\n"
        "one a line.\n");
    auto add = options.positional_help("DIR").add_options();
    add("port", "http port; 0: a free one", value<uint16_t>()->default_value("8017"));
    add("https-port", "https as well; 0: a free one", value<uint16_t>());
    add("reports", "where received reports are stored",
        value<std::string>()->default_value(fs::temp_directory_path() / "devserver-reports"));
    add("cert-dir", "where the certificate is written; the reports' folder when not given",
        value<std::string>());
    add("log", "where requests are logged; standard output when not given",
        value<std::string>()->default_value(""));
    add("faults", "how to misbehave, a JSON object a line; read again when it has changed",
        value<std::string>());
    add("h,help", "this text");
    options.add_options("hidden")("dir", "", value<std::string>());
    options.parse_positional("dir");
    return options;
}

// From here until the process ends. Gives the port.
int Listen(std::unique_ptr<httplib::Server> made, int port, bool isTls, ServerState& state) {
    httplib::Server* const server = made.release();
    auto* const relay = new Relay(state.log, isTls);
    AddAnswers(*server, *relay, state);
    relay->Start(port, server->bind_to_any_port("127.0.0.1"));
    std::thread([server] { server->listen_after_bind(); }).detach();
    return relay->Port();
}

void Serve(const cxxopts::ParseResult& given) {
    static ServerState state;
    const auto text = [&](const char* name) { return given[name].as<std::string>(); };
    const auto absolute = [](const fs::path& path) {
        return fs::absolute(path).lexically_normal().string();
    };
    state.directory = text("dir");
    if (!fs::is_directory(state.directory)) {
        throw std::runtime_error("no such folder: " + text("dir"));
    }
    if (!state.inbox.Open(text("reports"))) {
        throw std::runtime_error("the reports' folder cannot be used: " + text("reports"));
    }
    if (!state.log.Open(text("log"))) {
        throw std::runtime_error("the log cannot be opened: " + text("log"));
    }
    if (given.count("faults") != 0) {
        state.faults.Follow(text("faults"));
    }
    const int port = given["port"].as<uint16_t>();
    std::printf("http 127.0.0.1:%d\n",
                Listen(std::make_unique<httplib::Server>(), port, false, state));
    if (given.count("https-port") != 0) {
        const fs::path folder = text(given.count("cert-dir") != 0 ? "cert-dir" : "reports");
        const int tlsPort = given["https-port"].as<uint16_t>();
        std::printf("https 127.0.0.1:%d\n", Listen(MakeTlsServer(folder), tlsPort, true, state));
        std::printf("certificate %s\n", absolute(folder / "devserver.der").c_str());
        std::printf("certificate-pem %s\n", absolute(folder / "devserver.pem").c_str());
    }
    std::printf("reports %s\nready\n", absolute(text("reports")).c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    // Blocked before there are threads, so that only the wait below gets them.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    try {
        cxxopts::Options options = DescribeOptions();
        const cxxopts::ParseResult given = options.parse(argc, argv);
        if (given.count("help") != 0) {
            std::puts(options.help({""}).c_str());
            return 0;
        }
        if (given.count("dir") != 1 || !given.unmatched().empty()) {
            throw std::runtime_error("which folder is to be served? See --help");
        }
        Serve(given);
    } catch (const std::exception& wrong) {
        std::fprintf(stderr, "devserver: %s\n", wrong.what());
        std::_Exit(1);
    }
    int signal = 0;
    sigwait(&ends, &signal);
    // Threads run, and whoever still waits for an answer gets none; nothing is left to be written.
    std::_Exit(0);
}
