#include "Listener.h"

#include <sys/socket.h>

#include "Connection.h"

namespace {

// Stalled connections each keep a thread.
constexpr size_t kThreads = 32;
constexpr int kTlsHandshake = 0x16;  // RFC 8446, 5.1: ContentType

}  // namespace

Listener::Listener(RequestLog& log, Faults& faults, const StopSignal& stop, SSL_CTX* tls)
    : log_(log), faults_(faults), stop_(stop), tls_(tls), scheme_(tls ? "https" : "http") {
    new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    // The library's own choice lets a second server share the port without a word.
    set_socket_options([](socket_t socket) {
        const int on = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
}

bool Listener::Start(int port) {
    if (port == 0) {
        port_ = bind_to_any_port("127.0.0.1");
    } else {
        port_ = bind_to_port("127.0.0.1", port) ? port : -1;
    }
    if (port_ <= 0) {
        return false;
    }
    thread_ = std::thread([this] { listen_after_bind(); });
    // A stop before the loop has begun would be lost.
    while (!is_running()) {
        std::this_thread::yield();
    }
    return true;
}

void Listener::Stop() {
    if (!thread_.joinable()) {
        return;
    }
    stop();
    thread_.join();
}

void Listener::LogNoRequest(const char* what) {
    LogEntry entry;
    entry.time = CurrentTimeText();
    entry.scheme = scheme_;
    entry.fault = what;
    log_.Add(entry);
}

/// True when the client speaks the scheme of this port.
bool Listener::Greet(Transport& transport) {
    const int first = transport.PeekFirstByte();
    if (first < 0) {
        return false;
    }
    const bool speaksTls = first == kTlsHandshake;
    if (speaksTls != (tls_ != nullptr)) {
        LogNoRequest(speaksTls ? "tls-on-http" : "http-on-tls");
        return false;
    }
    if (tls_ != nullptr && !transport.StartTls(tls_)) {
        LogNoRequest("tls-failed");
        return false;
    }
    return true;
}

bool Listener::process_and_close_socket(socket_t socket) {
    Transport transport(socket, stop_);
    if (!Greet(transport)) {
        return false;
    }
    Connection connection(transport, log_, scheme_);
    bool arrived = false;
    bool clientCloses = false;
    const bool answered =
        process_request(connection, true, clientCloses, [&](httplib::Request& request) {
            arrived = true;
            connection.entry.method = request.method;
            connection.entry.target = request.target;
            if (request.path.starts_with("/_control/")) {
                return;
            }
            connection.logged = false;
            connection.fault = faults_.Take(request.path);
        });
    // A request that cannot be read is answered all the same, and without that call.
    if (!arrived && answered) {
        connection.logged = false;
        arrived = true;
    }
    if (!arrived && tls_ != nullptr) {
        LogNoRequest("no-request");
    }
    connection.Finish();
    return answered;
}
