#include "Relay.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

const unsigned char tlsHandshake = 0x16;  // RFC 8446, 5.1: ContentType

int MakeSocket() {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

template <typename Value>
void SetOption(int socket, int level, int option, const Value& value) {
    setsockopt(socket, level, option, &value, sizeof value);
}

// bind or connect, with a port of this machine.
template <typename Call>
bool UsePort(Call call, int socket, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return call(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int PortOf(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

bool SendAll(int socket, const char* data, ssize_t size) {
    while (size > 0) {
        const ssize_t sent = send(socket, data, static_cast<size_t>(size), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        data += sent;
        size -= sent;
    }
    return true;
}

void CloseGently(int socket) {
    // Closing over unread bytes resets the connection, and the client may lose the answer.
    shutdown(socket, SHUT_WR);
    SetOption(socket, SOL_SOCKET, SO_RCVTIMEO, timeval{1, 0});
    char rest[16384];
    while (recv(socket, rest, sizeof rest, 0) > 0) {
    }
    close(socket);
}

void CloseHard(int socket) {
    SetOption(socket, SOL_SOCKET, SO_LINGER, linger{1, 0});
    close(socket);
}

// Hands through what comes from either side until one of them ends.
void HandThrough(int client, int server, const std::atomic<bool>& isRefused) {
    char block[64 * 1024];
    pollfd sides[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
    while (poll(sides, 2, -1) > 0) {
        if (sides[1].revents != 0) {
            const ssize_t got = recv(server, block, sizeof block, 0);
            if (got <= 0 || isRefused || !SendAll(client, block, got)) {
                return;
            }
        } else if (sides[0].revents != 0) {
            const ssize_t got = recv(client, block, sizeof block, 0);
            if (got <= 0) {
                return;
            }
            // An answer may be there before all is taken that was sent.
            SendAll(server, block, got);
        }
    }
}

}  // namespace

Exchange::Exchange(RequestLog& writtenTo, const std::string& scheme) : log(writtenTo) {
    entry.time = CurrentTimeText();
    entry.scheme = scheme;
}

Exchange::~Exchange() {
    Log(entry.method.empty() ? "no-request" : "client-left");
}

void Exchange::Log(const std::string& word) {
    if (!isLogged) {
        isLogged = true;
        entry.fault = word;
        log.Add(entry);
    }
}

Relay::Relay(RequestLog& writtenTo, bool tls)
    : log(writtenTo), isTls(tls), scheme(tls ? "https" : "http") {}

void Relay::Start(int port, int innerPort) {
    inner = innerPort;
    listener = MakeSocket();
    SetOption(listener, SOL_SOCKET, SO_REUSEADDR, 1);
    if (listener < 0 || !UsePort(bind, listener, port) || listen(listener, SOMAXCONN) != 0) {
        const bool isTaken = errno == EADDRINUSE;
        throw std::runtime_error("port " + std::to_string(port) +
                                 (isTaken
                                      ? " is in use by another program; --port 0 takes a free one"
                                      : " cannot be had"));
    }
    std::thread([this] {
        for (;;) {
            const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (client >= 0) {
                std::thread(&Relay::Serve, this, client).detach();
            }
        }
    }).detach();
}

int Relay::Port() const {
    return PortOf(listener);
}

std::shared_ptr<Exchange> Relay::Find(int port) {
    const std::lock_guard lock(mutex);
    // Somebody may have found the library's own port.
    return exchanges[port] ? exchanges[port] : std::make_shared<Exchange>(log, scheme);
}

void Relay::Register(int port, std::shared_ptr<Exchange> exchange) {
    const std::lock_guard lock(mutex);
    exchanges[port] = std::move(exchange);
}

void Relay::Serve(int client) {
    const auto exchange = std::make_shared<Exchange>(log, scheme);
    unsigned char first = 0;
    if (recv(client, &first, 1, MSG_PEEK) != 1) {
        exchange->isLogged = true;
        CloseHard(client);
        return;
    }
    if ((first == tlsHandshake) != isTls) {
        exchange->Log(isTls ? "http-on-tls" : "tls-on-http");
        CloseHard(client);
        return;
    }
    // The last bytes of an answer are sent on their own and must not wait.
    SetOption(client, IPPROTO_TCP, TCP_NODELAY, 1);
    const int server = MakeSocket();
    SetOption(server, IPPROTO_TCP, TCP_NODELAY, 1);
    if (server >= 0 && UsePort(connect, server, inner)) {
        const int port = PortOf(server);
        Register(port, exchange);
        HandThrough(client, server, exchange->isRefused);
        Register(port, nullptr);
    }
    close(server);
    exchange->end.set_value();
    exchange->isRefused ? CloseHard(client) : CloseGently(client);
}
