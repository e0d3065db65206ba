#include "kit/ExeKind.h"

#include <windows.h>

namespace {

bool ReadAt(HANDLE file, LONG place, void* data, DWORD length) {
    DWORD read = 0;
    return SetFilePointer(file, place, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
           ReadFile(file, data, length, &read, nullptr) && read == length;
}

}  // namespace

std::uint16_t ReadMachine(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return 0;
    }
    IMAGE_DOS_HEADER dosHeader;
    struct {
        DWORD signature;
        IMAGE_FILE_HEADER header;
    } found;
    const bool isProgram = ReadAt(file, 0, &dosHeader, sizeof dosHeader) &&
                           dosHeader.e_magic == IMAGE_DOS_SIGNATURE &&
                           ReadAt(file, dosHeader.e_lfanew, &found, sizeof found) &&
                           found.signature == IMAGE_NT_SIGNATURE;
    CloseHandle(file);
    return isProgram ? found.header.Machine : 0;
}
