#include "Client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

Client::Client(int port, const std::string& certificate)
    : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    const timeval patience{5, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (certificate.empty() || !connected_)
        return;
    context_ = SSL_CTX_new(TLS_client_method());
    SSL_CTX_load_verify_file(context_, certificate.c_str());
    SSL_CTX_set_verify(context_, SSL_VERIFY_PEER, nullptr);
    tls_ = SSL_new(context_);
    X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(tls_), "127.0.0.1");
    SSL_set_fd(tls_, socket_);
    connected_ = SSL_connect(tls_) == 1;
}

Client::~Client() {
    SSL_free(tls_);
    SSL_CTX_free(context_);
    close(socket_);
}

void Client::Send(const std::string& bytes) {
    if (tls_ != nullptr)
        SSL_write(tls_, bytes.data(), static_cast<int>(bytes.size()));
    else
        send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

bool Client::ReadBytes(size_t size) {
    while (received.size() < size) {
        char piece[16384];
        errno = 0;
        ERR_clear_error();
        const ssize_t got = tls_ != nullptr ? SSL_read(tls_, piece, sizeof piece)
                                            : recv(socket_, piece, sizeof piece, 0);
        if (got > 0) {
            received.append(piece, static_cast<size_t>(got));
            continue;
        }
        const bool inOrder =
            tls_ == nullptr ? got == 0
                            : SSL_get_error(tls_, static_cast<int>(got)) == SSL_ERROR_ZERO_RETURN;
        if (inOrder)
            ending = Ending::closed;
        else if (errno == ECONNRESET)
            ending = Ending::reset;
        else
            ending = errno == EAGAIN ? Ending::none : Ending::truncated;
        return false;
    }
    return true;
}

Ending Client::ReadToEnd() {
    ReadBytes(SIZE_MAX);
    return ending;
}

bool Client::Ask(const std::string& methodAndPath, const std::string& headers,
                 const std::string& body) {
    const std::string length =
        body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n";
    Send(methodAndPath + " HTTP/1.1\r\nHost: test\r\n" + headers + length + "\r\n" + body);
    size_t end = std::string::npos;
    while (end == std::string::npos) {
        if (!ReadBytes(received.size() + 1))
            return false;
        end = received.find("\r\n\r\n");
    }
    head = received.substr(0, end + 2);
    received.erase(0, end + 4);
    return true;
}

int Client::Status() const {
    return head.size() > 9 ? std::atoi(head.c_str() + 9) : 0;
}
