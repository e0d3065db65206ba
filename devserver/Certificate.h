#pragma once

#include <httplib.h>

#include <filesystem>
#include <memory>

// The library's server for https, with a fresh key and a self-made certificate for 127.0.0.1 and
// localhost, good for a year. The certificate is written to `folder` as devserver.der and
// devserver.pem; the key stays in memory, so a certificate trusted once is worth nothing to others.
// Throws std::runtime_error when that fails. Starts the program openssl; takes about 0.2 s.
std::unique_ptr<httplib::Server> MakeTlsServer(const std::filesystem::path& folder);
