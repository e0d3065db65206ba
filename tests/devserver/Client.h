#pragma once

#include <openssl/ssl.h>

#include <string>

/// How a connection ended: in order, without TLS's end mark, by a reset, or not within 5 s.
enum class Ending { closed, truncated, reset, none };

/// One connection to 127.0.0.1 that shows what a comfortable client hides.
class Client {
  public:
    /// With a certificate file the connection is TLS and trusts only that certificate, for the
    /// name 127.0.0.1. `Connected` is false when the two do not agree.
    explicit Client(int port, const std::string& certificate = {});
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool Connected() const {
        return connected_;
    }
    void Send(const std::string& bytes);
    /// Adds to `received` until it holds `size` bytes; false when the connection ends before.
    bool ReadBytes(size_t size);
    Ending ReadToEnd();
    /// Sends "METHOD path HTTP/1.1" and reads the head of the answer. False when none comes.
    bool Ask(const std::string& methodAndPath, const std::string& headers = {},
             const std::string& body = {});
    int Status() const;

    std::string received;  ///< behind the head, once it was read
    std::string head;
    Ending ending = Ending::none;  ///< of the last read that came to an end

  private:
    int socket_;
    SSL_CTX* context_ = nullptr;
    SSL* tls_ = nullptr;
    bool connected_ = false;
};
