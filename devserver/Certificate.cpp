#include "Certificate.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <cstdio>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

bool AddExtension(X509* certificate, int id, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, id, value);
    const bool added = extension != nullptr && X509_add_ext(certificate, extension, -1) == 1;
    X509_EXTENSION_free(extension);
    return added;
}

/// Each certificate has its own serial number: clients take two of the same issuer and number for
/// the same one.
bool SetSerialNumber(X509* certificate) {
    uint64_t number = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) != 1) {
        return false;
    }
    return ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number >> 1) == 1;
}

Certificate MakeCertificate(EVP_PKEY* key) {
    constexpr long kDay = 24 * 60 * 60;
    Certificate made(X509_new(), X509_free);
    X509* certificate = made.get();
    if (certificate == nullptr || !SetSerialNumber(certificate)) {
        return {nullptr, X509_free};
    }
    X509_set_version(certificate, X509_VERSION_3);
    // A day back, for machines whose clock is a little behind.
    X509_gmtime_adj(X509_getm_notBefore(certificate), -kDay);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 365 * kDay);
    X509_NAME* name = X509_get_subject_name(certificate);
    const auto* commonName = reinterpret_cast<const unsigned char*>("devserver on 127.0.0.1");
    const bool complete =
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, commonName, -1, -1, 0) == 1 &&
        X509_set_issuer_name(certificate, name) == 1 && X509_set_pubkey(certificate, key) == 1 &&
        AddExtension(certificate, NID_subject_alt_name,
                     "IP:127.0.0.1,DNS:localhost,DNS:127.0.0.1") &&
        AddExtension(certificate, NID_basic_constraints, "critical,CA:TRUE") &&
        AddExtension(certificate, NID_key_usage,
                     "critical,digitalSignature,keyEncipherment,keyCertSign") &&
        AddExtension(certificate, NID_ext_key_usage, "serverAuth") &&
        X509_sign(certificate, key, EVP_sha256()) > 0;
    if (!complete) {
        made.reset();
    }
    return made;
}

template <typename Write>
bool WriteWith(const fs::path& path, Write write) {
    std::FILE* file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) {
        return false;
    }
    const bool written = write(file) == 1;
    return std::fclose(file) == 0 && written;
}

}  // namespace

fs::path CertificateDerFile(const fs::path& folder) {
    return folder / "devserver.der";
}

fs::path CertificatePemFile(const fs::path& folder) {
    return folder / "devserver.pem";
}

TlsContext MakeTlsContext(const fs::path& folder, std::string& error) {
    const Key key(EVP_RSA_gen(2048), EVP_PKEY_free);
    const Certificate certificate =
        key ? MakeCertificate(key.get()) : Certificate(nullptr, X509_free);
    TlsContext context(SSL_CTX_new(TLS_server_method()));
    if (!certificate || !context ||
        SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1) {
        error = "the certificate cannot be made";
        return nullptr;
    }
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE);

    std::error_code failed;
    fs::create_directories(folder, failed);
    X509* written = certificate.get();
    const auto writeDer = [&](std::FILE* file) { return i2d_X509_fp(file, written); };
    const auto writePem = [&](std::FILE* file) { return PEM_write_X509(file, written); };
    if (!WriteWith(CertificateDerFile(folder), writeDer) ||
        !WriteWith(CertificatePemFile(folder), writePem)) {
        error = "the certificate cannot be written to " + folder.string();
        return nullptr;
    }
    return context;
}
