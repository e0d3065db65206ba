#include "kit/Sha256.h"

#include <windows.h>
#include <bcrypt.h>

#include <vector>

#include "kit/Files.h"

namespace {

constexpr DWORD pieceSize = 1 << 20;
constexpr DWORD hashSize = 32;

/// The system's hash over one stream; released whichever step fails.
struct Hash {
    BCRYPT_ALG_HANDLE provider = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;

    bool Start() {
        return BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0) >= 0 &&
               BCryptCreateHash(provider, &hash, nullptr, 0, nullptr, 0, 0) >= 0;
    }

    ~Hash() {
        if (hash != nullptr) {
            BCryptDestroyHash(hash);
        }
        if (provider != nullptr) {
            BCryptCloseAlgorithmProvider(provider, 0);
        }
    }
};

DWORD HashStream(HANDLE file, UCHAR* digest) {
    Hash hash;
    if (!hash.Start()) {
        return ERROR_NOT_SUPPORTED;
    }
    std::vector<UCHAR> piece(pieceSize);
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(file, piece.data(), pieceSize, &read, nullptr)) {
            return GetLastError();
        }
        if (read == 0) {
            break;
        }
        if (BCryptHashData(hash.hash, piece.data(), read, 0) < 0) {
            return ERROR_INVALID_DATA;
        }
    }
    return BCryptFinishHash(hash.hash, digest, hashSize, 0) < 0 ? ERROR_INVALID_DATA : 0;
}

}  // namespace

std::uint32_t HashFile(const std::wstring& path, std::string& hex) {
    hex.clear();
    const File file = OpenToRead(path);
    UCHAR digest[hashSize] = {};
    const DWORD error = file ? HashStream(file.get(), digest) : GetLastError();
    if (error != 0) {
        return error;
    }
    for (const UCHAR byte : digest) {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return 0;
}
