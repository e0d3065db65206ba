#pragma once

#include <winsock2.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A server on this machine, on a thread of its own: keeps what it is sent and gives each request
/// the same answer. A request is there when its sender has the answer.
class HttpInbox {
  public:
    explicit HttpInbox(const std::string& status = "200 OK");
    ~HttpInbox();

    /// Head, empty line and body of each request so far.
    std::vector<std::string> Requests();

    std::uint16_t port = 0;

  private:
    void Answer(SOCKET connection);

    std::string answer;
    SOCKET listener;
    std::mutex lock;
    std::vector<std::string> requests;
    std::thread thread;
};
