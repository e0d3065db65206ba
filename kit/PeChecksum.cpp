#include "kit/PeChecksum.h"

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

DWORD ReadAt(HANDLE file, DWORD place, void* data, DWORD length) {
    if (SetFilePointer(file, static_cast<LONG>(place), nullptr, FILE_BEGIN) != place) {
        return ERROR_BAD_EXE_FORMAT;
    }
    DWORD read = 0;
    if (!ReadFile(file, data, length, &read, nullptr)) {
        return GetLastError();
    }
    return read == length ? 0 : ERROR_BAD_EXE_FORMAT;
}

/// Finds the checksum's place in the file, which is even, as all headers are.
DWORD FindField(HANDLE file, DWORD& place) {
    IMAGE_DOS_HEADER dosHeader;
    IMAGE_NT_HEADERS32 headers;
    DWORD error = ReadAt(file, 0, &dosHeader, sizeof dosHeader);
    if (error != 0) {
        return error;
    }
    if (dosHeader.e_magic != IMAGE_DOS_SIGNATURE || dosHeader.e_lfanew % 2 != 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    error = ReadAt(file, dosHeader.e_lfanew, &headers, sizeof headers);
    if (error != 0) {
        return error;
    }
    if (headers.Signature != IMAGE_NT_SIGNATURE) {
        return ERROR_BAD_EXE_FORMAT;
    }
    place = dosHeader.e_lfanew + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.CheckSum);
    return 0;
}

DWORD SumWords(HANDLE file, std::uint64_t& sum, DWORD& length) {
    // Even, so that a word never falls between two pieces.
    std::vector<std::uint16_t> piece(512 * 1024);
    sum = length = 0;
    if (SetFilePointer(file, 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER) {
        return GetLastError();
    }
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(file, piece.data(), static_cast<DWORD>(piece.size() * 2), &read, nullptr)) {
            return GetLastError();
        }
        if (read == 0) {
            return 0;
        }
        if (read % 2 != 0) {
            reinterpret_cast<unsigned char*>(piece.data())[read] = 0;
        }
        for (DWORD i = 0; i < (read + 1) / 2; ++i) {
            sum += piece[i];
        }
        length += read;
    }
}

DWORD WriteField(HANDLE file, DWORD place, DWORD value) {
    DWORD written = 0;
    if (SetFilePointer(file, static_cast<LONG>(place), nullptr, FILE_BEGIN) != place ||
        !WriteFile(file, &value, sizeof value, &written, nullptr)) {
        return GetLastError();
    }
    return 0;
}

DWORD UpdateField(HANDLE file) {
    DWORD place = 0, length = 0;
    std::uint64_t sum = 0;
    DWORD error = FindField(file, place);
    if (error == 0) {
        error = WriteField(file, place, 0);
    }
    if (error == 0) {
        error = SumWords(file, sum, length);
    }
    if (error != 0) {
        return error;
    }
    while (sum >> 16 != 0) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return WriteField(file, place, static_cast<DWORD>(sum) + length);
}

}  // namespace

std::uint32_t WritePeChecksum(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    const DWORD error = UpdateField(file);
    CloseHandle(file);
    return error;
}
