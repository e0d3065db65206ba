#include "kit/PeFile.h"

#include <cstddef>

namespace {

// Even, so that a word never falls between two pieces.
constexpr DWORD pieceSize = 1 << 20;

DWORD ReadHeaders(PeFile& exe) {
    IMAGE_DOS_HEADER dosHeader;
    DWORD error = ReadAt(exe.file, 0, &dosHeader, sizeof dosHeader);
    if (error != 0) {
        return error;
    }
    exe.place = static_cast<DWORD>(dosHeader.e_lfanew);
    if (dosHeader.e_magic != IMAGE_DOS_SIGNATURE || exe.place % 2 != 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    error = ReadAt(exe.file, exe.place, &exe.headers, sizeof exe.headers);
    if (error != 0) {
        return error;
    }
    const IMAGE_FILE_HEADER& fileHeader = exe.headers.FileHeader;
    if (exe.headers.Signature != IMAGE_NT_SIGNATURE || fileHeader.NumberOfSections == 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    exe.tablePlace = static_cast<DWORD>(exe.place + offsetof(IMAGE_NT_HEADERS32, OptionalHeader) +
                                        fileHeader.SizeOfOptionalHeader);
    exe.sections.resize(fileHeader.NumberOfSections);
    return ReadAt(exe.file, exe.tablePlace, exe.sections.data(),
                  exe.sections.size() * sizeof exe.sections[0]);
}

DWORD SumWords(const File& file, std::uint64_t& sum, DWORD& length) {
    std::vector<std::uint16_t> piece(pieceSize / 2);
    sum = length = 0;
    SetFilePointer(file.get(), 0, nullptr, FILE_BEGIN);
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(file.get(), piece.data(), pieceSize, &read, nullptr)) {
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

}  // namespace

std::uint32_t ReadAt(const File& file, DWORD place, void* data, std::size_t length) {
    OVERLAPPED from = {};
    from.Offset = place;
    DWORD read = 0;
    if (!ReadFile(file.get(), data, static_cast<DWORD>(length), &read, &from)) {
        return GetLastError() == ERROR_HANDLE_EOF ? ERROR_BAD_EXE_FORMAT : GetLastError();
    }
    return read == length ? 0 : ERROR_BAD_EXE_FORMAT;
}

std::uint32_t WriteAt(const File& file, DWORD place, const void* data, std::size_t length) {
    OVERLAPPED to = {};
    to.Offset = place;
    DWORD written = 0;
    return WriteFile(file.get(), data, static_cast<DWORD>(length), &written, &to) ? 0
                                                                                  : GetLastError();
}

std::uint32_t OpenPeFile(const std::wstring& path, DWORD access, PeFile& exe) {
    const DWORD share = access == GENERIC_READ ? FILE_SHARE_READ : 0;
    exe.file = OpenPath(path, access, share, OPEN_EXISTING);
    return exe.file ? ReadHeaders(exe) : GetLastError();
}

std::uint16_t ReadMachine(const std::wstring& path) {
    PeFile exe;
    return OpenPeFile(path, GENERIC_READ, exe) == 0 ? exe.headers.FileHeader.Machine : 0;
}

std::uint32_t WritePeChecksum(const std::wstring& path) {
    PeFile exe;
    DWORD length = 0, checksum = 0;
    std::uint64_t sum = 0;
    DWORD error = OpenPeFile(path, GENERIC_READ | GENERIC_WRITE, exe);
    const DWORD place = exe.place + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.CheckSum);
    if (error == 0) {
        error = WriteAt(exe.file, place, &checksum, sizeof checksum);
    }
    if (error == 0) {
        error = SumWords(exe.file, sum, length);
    }
    if (error != 0) {
        return error;
    }
    while (sum >> 16 != 0) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    checksum = static_cast<DWORD>(sum) + length;
    return WriteAt(exe.file, place, &checksum, sizeof checksum);
}
