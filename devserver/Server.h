#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Certificate.h"
#include "Faults.h"
#include "Listener.h"
#include "Routes.h"
#include "Transport.h"

struct ServerSettings {
    std::filesystem::path directory;     ///< what is served
    int port = 8017;                     ///< 0: a free one
    std::optional<int> httpsPort;        ///< none: no https
    std::filesystem::path reports;       ///< where reports are stored
    std::filesystem::path certificates;  ///< where the certificate goes
    std::string logFile;                 ///< empty: the standard output
    std::vector<FaultRule> faults;       ///< in force from the start
};

/// The product's server. Listens on 127.0.0.1 only.
class DevServer {
  public:
    ~DevServer();

    /// Returns an empty text when the server accepts connections, else why it does not.
    std::string Start(const ServerSettings& settings);
    /// Breaks off what is being served, returns when all is closed. May be called twice.
    void Stop();

    int HttpPort() const;
    /// 0 without https.
    int HttpsPort() const;
    RequestLog& Log() {
        return state_.log;
    }

  private:
    ServerState state_;
    StopSignal stop_;
    TlsContext tls_;
    std::unique_ptr<Listener> http_;
    std::unique_ptr<Listener> https_;
};
