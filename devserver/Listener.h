#pragma once

#include <httplib.h>

#include <string>
#include <thread>

#include "Certificate.h"
#include "Faults.h"
#include "RequestLog.h"
#include "Transport.h"

/// Accepts on one port of 127.0.0.1, http or https, and hands requests to the library, one on each
/// connection. The scripted faults are taken here, for all paths but those below /_control/.
///
/// What is no request is logged without a method: "tls-on-http", "http-on-tls" (the first byte
/// belongs to the other scheme: closed at once), "tls-failed" (no agreement), "no-request" (agreed
/// on TLS and then left, as a client does that does not trust the certificate).
class Listener : public httplib::Server {
  public:
    /// `tls` null: plain http. All arguments outlive the listener.
    Listener(RequestLog& log, Faults& faults, const StopSignal& stop, SSL_CTX* tls);

    /// Starts to accept; port 0 takes a free one. False when the port cannot be had.
    bool Start(int port);
    int Port() const {
        return port_;
    }
    /// Waits for the connections' ends. `stop` must have been set before.
    void Stop();

  private:
    bool process_and_close_socket(socket_t socket) override;
    bool Greet(Transport& transport);
    void LogNoRequest(const char* what);

    RequestLog& log_;
    Faults& faults_;
    const StopSignal& stop_;
    SSL_CTX* tls_;
    std::string scheme_;
    int port_ = 0;
    std::thread thread_;
};
