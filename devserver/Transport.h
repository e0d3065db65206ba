#pragma once

#include <openssl/ssl.h>
#include <sys/types.h>

#include <chrono>
#include <cstddef>

/// Becomes set once and stays so. Every wait of a connection ends early when it is set.
class StopSignal {
  public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    void Set();
    bool IsSet() const;
    /// A descriptor that turns readable when the signal is set.
    int Handle() const {
        return handle_;
    }

  private:
    int handle_;
};

/// One accepted socket, plain or TLS. Owns the descriptor and closes it. Reads and writes wait at
/// most 5 s for the other side and end at once when `stop` is set.
class Transport {
  public:
    Transport(int socket, const StopSignal& stop);
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    /// The first byte the client sent, left in place; -1 when none comes.
    int PeekFirstByte();
    /// Makes the connection a TLS one. False when the client and we do not agree.
    bool StartTls(SSL_CTX* context);

    /// Bytes read; 0 at the end of the stream, -1 on failure.
    ssize_t Read(char* data, size_t size);
    bool WriteAll(const char* data, size_t size);

    /// True when the time has passed; false when the client left or the server stops before.
    bool PauseUntil(std::chrono::steady_clock::time_point due);
    /// Blocks until the client leaves or the server stops.
    void WaitForClientToLeave();

    /// Ends the sending side and reads what the client still sends (at most 1 s), because closing
    /// over unread bytes makes the system reset the connection. Without `notifyTls` a TLS client
    /// sees the stream break off.
    void EndStream(bool notifyTls);
    /// Closing from now on resets the connection.
    void ResetOnClose();

    int Socket() const {
        return socket_;
    }
    bool Stopping() const {
        return stop_.IsSet();
    }

  private:
    bool Wait(short events, std::chrono::steady_clock::time_point due, bool forEver = false);
    bool WaitAfter(int tlsResult);

    int socket_;
    const StopSignal& stop_;
    SSL* tls_ = nullptr;
};
