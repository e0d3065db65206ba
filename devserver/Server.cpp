#include "Server.h"

#include <cerrno>
#include <csignal>

namespace {

// To be asked right after the port was refused.
std::string DescribeRefusal(int port) {
    const bool isTaken = errno == EADDRINUSE;
    return "port " + std::to_string(port) +
           (isTaken ? " is in use by another program; --port 0 takes a free one"
                    : " cannot be had");
}

}  // namespace

DevServer::~DevServer() {
    Stop();
}

std::string DevServer::Start(const ServerSettings& settings) {
    // The TLS library writes to sockets whose other side may be gone.
    std::signal(SIGPIPE, SIG_IGN);
    std::error_code failed;
    if (!std::filesystem::is_directory(settings.directory, failed)) {
        return "no such folder: " + settings.directory.string();
    }
    state_.directory = settings.directory;
    if (!state_.inbox.Open(settings.reports)) {
        return "the reports' folder cannot be used: " + settings.reports.string();
    }
    if (!state_.log.Open(settings.logFile)) {
        return "the log cannot be opened: " + settings.logFile;
    }
    for (const FaultRule& fault : settings.faults) {
        state_.faults.Add(fault);
    }

    http_ = std::make_unique<Listener>(state_.log, state_.faults, stop_, nullptr);
    AddRoutes(*http_, state_);
    if (!http_->Start(settings.port)) {
        return DescribeRefusal(settings.port);
    }
    if (!settings.httpsPort) {
        return {};
    }
    std::string error;
    tls_ = MakeTlsContext(settings.certificates, error);
    if (!tls_) {
        return error;
    }
    https_ = std::make_unique<Listener>(state_.log, state_.faults, stop_, tls_.get());
    AddRoutes(*https_, state_);
    if (!https_->Start(*settings.httpsPort)) {
        return DescribeRefusal(*settings.httpsPort);
    }
    return {};
}

void DevServer::Stop() {
    stop_.Set();
    for (Listener* listener : {http_.get(), https_.get()}) {
        if (listener != nullptr) {
            listener->Stop();
        }
    }
}

int DevServer::HttpPort() const {
    return http_->Port();
}

int DevServer::HttpsPort() const {
    return https_ ? https_->Port() : 0;
}
