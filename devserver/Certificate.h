#pragma once

#include <openssl/ssl.h>

#include <filesystem>
#include <memory>
#include <string>

struct TlsContextDeleter {
    void operator()(SSL_CTX* context) const {
        SSL_CTX_free(context);
    }
};
using TlsContext = std::unique_ptr<SSL_CTX, TlsContextDeleter>;

/// A TLS server context with a fresh key and a self-made certificate for 127.0.0.1 and localhost,
/// good for a year. The certificate, not the key, is written to `folder` as devserver.der and
/// devserver.pem; the key stays in memory, so a certificate trusted once is worth nothing to
/// others. Null on failure, and `error` tells why. Takes about 0.1 s.
TlsContext MakeTlsContext(const std::filesystem::path& folder, std::string& error);

/// The certificate's files below `folder`.
std::filesystem::path CertificateDerFile(const std::filesystem::path& folder);
std::filesystem::path CertificatePemFile(const std::filesystem::path& folder);
