#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Faults.h"
#include "RequestLog.h"
#include "Transport.h"

/// One request and its answer on one transport: the stream that the HTTP library writes to. Carries
/// out the faults that concern the bytes (refuse, cut, slow, stall) and sees to it that the request
/// is logged once, and before the client can have the whole answer: the answer's last piece is held
/// back until the line is written.
class Connection : public httplib::Stream {
  public:
    /// The scheme, "http" or "https", goes into the log.
    Connection(Transport& transport, RequestLog& log, const std::string& scheme);
    ~Connection() override;

    /// The connection that the calling thread serves: the library does so on one thread from the
    /// request to the end of the answer, but does not hand the stream to the handlers.
    static Connection& Current();

    /// Drops the answer and resets the connection.
    void Refuse();
    /// Logs the request unless that was done, lets the last piece go and ends the connection.
    void Finish();

    LogEntry entry;                  ///< filled as the request goes on
    std::optional<FaultRule> fault;  ///< set before the answer begins
    bool logged = true;              ///< false from the moment there is a request to log

    ssize_t read(char* data, size_t size) override;
    ssize_t write(const char* data, size_t size) override;
    using httplib::Stream::write;
    bool is_readable() const override;
    bool is_writable() const override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override;

  private:
    void Log(const std::string& fault);
    bool WriteHead(std::string_view& data);
    bool WriteBody(std::string_view data);
    bool WriteSlowly(std::string_view data);
    bool BreakOff();
    bool Push(std::string_view data, size_t holdBack);
    bool SendHeld();

    Transport& transport_;
    RequestLog& log_;
    std::string input_;
    size_t inputAt_ = 0;
    std::string head_;
    bool headDone_ = false;
    std::string held_;
    size_t heldBody_ = 0;  // of the held bytes, those of the body
    uint64_t body_ = 0;    // bytes of the body taken from the library
    std::chrono::steady_clock::time_point slowStart_;
    bool closed_ = false;
    bool graceful_ = true;
};
