#include "Certificate.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

const char* const command =
    "openssl req -x509 -newkey rsa:2048 -nodes -keyout - -days 365"
    " -subj '/CN=devserver on 127.0.0.1' -addext extendedKeyUsage=serverAuth"
    " -addext subjectAltName=IP:127.0.0.1,DNS:localhost,DNS:127.0.0.1 2>/dev/null";

template <typename Write>
bool WriteWith(const fs::path& path, Write write, X509* certificate) {
    std::FILE* file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) {
        return false;
    }
    const bool written = write(file, certificate) == 1;
    return std::fclose(file) == 0 && written;
}

}  // namespace

std::unique_ptr<httplib::Server> MakeTlsServer(const fs::path& folder) {
    std::FILE* made = popen(command, "re");
    if (made == nullptr) {
        throw std::runtime_error("the program openssl cannot be started");
    }
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        PEM_read_PrivateKey(made, nullptr, nullptr, nullptr), EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        PEM_read_X509(made, nullptr, nullptr, nullptr), X509_free);
    pclose(made);
    if (!key || !certificate) {
        throw std::runtime_error("the program openssl makes no certificate");
    }
    std::error_code failed;
    fs::create_directories(folder, failed);
    if (!WriteWith(folder / "devserver.der", i2d_X509_fp, certificate.get()) ||
        !WriteWith(folder / "devserver.pem", PEM_write_X509, certificate.get())) {
        throw std::runtime_error("the certificate cannot be written to " + folder.string());
    }
    return std::make_unique<httplib::SSLServer>(certificate.get(), key.get());
}
