#include "support/HttpInbox.h"

#include <stdlib.h>

HttpInbox::HttpInbox(const std::string& status)
    : answer("HTTP/1.1 " + status + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n") {
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
             closesocket(connection))
            Answer(connection);
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
    for (std::size_t whole = std::string::npos; request.size() < whole;) {
        const int count = recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0)
            return;
        request.append(buffer, count);
        const std::size_t head = request.find("\r\n\r\n");
        const std::size_t length = request.find("Content-Length: ");
        if (head != std::string::npos && length < head)
            whole = head + 4 + strtoul(request.c_str() + length + 16, nullptr, 10);
    }
    const std::lock_guard guard(lock);
    requests.push_back(request);
    send(connection, answer.data(), static_cast<int>(answer.size()), 0);
}
