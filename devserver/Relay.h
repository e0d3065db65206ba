#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Faults.h"
#include "RequestLog.h"

// A connection of a client, and the one request on it. Whoever works on it shares it; the handler
// alone fills it.
struct Exchange {
    Exchange(RequestLog& writtenTo, const std::string& scheme);
    // Logs what has not been: the client left, or never asked.
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    // Writes the line of the log, with this word in place of the status. Once: later calls do
    // nothing.
    void Log(const std::string& word = {});

    RequestLog& log;
    LogEntry entry;
    const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    std::optional<FaultRule> fault;
    bool isLogged = false;
    // Set before the answer begins: the connection is reset in place of its first byte.
    std::atomic<bool> isRefused = false;
    std::promise<void> end;  // set when the client has left, or all was sent
    const std::shared_future<void> ended = end.get_future().share();
};

// Accepts on one port of 127.0.0.1 and hands each connection through to the HTTP library, whose
// handlers have no hold on it: here is seen what is no request, and here a request is refused. Runs
// until the process ends.
class Relay {
  public:
    Relay(RequestLog& writtenTo, bool tls);
    // Accepts from now on; port 0 takes a free one. `innerPort` is the library's. Throws
    // std::runtime_error when the port cannot be had.
    void Start(int port, int innerPort);
    int Port() const;
    // The exchange whose request the library gets from this port.
    std::shared_ptr<Exchange> Find(int port);

  private:
    void Serve(int client);
    void Register(int port, std::shared_ptr<Exchange> exchange);

    RequestLog& log;
    const bool isTls;
    const std::string scheme;
    int listener = -1;
    int inner = 0;
    std::mutex mutex;
    std::map<int, std::shared_ptr<Exchange>> exchanges;
};
