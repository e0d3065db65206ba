#include "support/HttpInbox.h"

#include <stdlib.h>

namespace {

bool IsWhole(const std::string& request) {
    const std::size_t head = request.find("\r\n\r\n");
    const std::size_t length = request.find("Content-Length: ");
    return head != std::string::npos && length < head &&
           request.size() - head - 4 >= strtoul(request.c_str() + length + 16, nullptr, 10);
}

}  // namespace

HttpInbox::HttpInbox(std::string answer) : status(std::move(answer)) {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    bind(listener, reinterpret_cast<sockaddr*>(&address), size);
    listen(listener, 5);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    thread = std::thread([this] {
        for (SOCKET connection; (connection = accept(listener, nullptr, nullptr)) != INVALID_SOCKET;
             closesocket(connection)) {
            Answer(connection);
        }
    });
}

HttpInbox::~HttpInbox() {
    // Ends the wait for a connection.
    closesocket(listener);
    thread.join();
    WSACleanup();
}

std::vector<std::string> HttpInbox::Requests() {
    const std::lock_guard guard(lock);
    return requests;
}

void HttpInbox::Answer(SOCKET connection) {
    std::string request;
    char buffer[16384];
    while (!IsWhole(request)) {
        const int count = recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0) {
            return;
        }
        request.append(buffer, count);
    }
    {
        const std::lock_guard guard(lock);
        requests.push_back(request);
    }
    const std::string answer =
        "HTTP/1.1 " + status + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    send(connection, answer.data(), static_cast<int>(answer.size()), 0);
}
