#include "kit/ExeKind.h"

#include <windows.h>

#include "resources/ResourceIds.h"

namespace {

bool ReadAt(HANDLE file, LONG place, void* data, DWORD length) {
    DWORD read = 0;
    return SetFilePointer(file, place, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
           ReadFile(file, data, length, &read, nullptr) && read == length;
}

std::wstring ReadString(HMODULE module, unsigned id) {
    wchar_t text[260];
    return {text, static_cast<std::size_t>(LoadStringW(module, id, text, 260))};
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

SetupProduct ReadSetupProduct(const std::wstring& path) {
    const HMODULE module = LoadLibraryExW(
        path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    SetupProduct product;
    if (module == nullptr) {
        return product;
    }
    if (FindResourceW(module, MAKEINTRESOURCEW(IDR_TEXTS), L"TEXTS") != nullptr) {
        product = {ReadString(module, IDS_DISPLAY_NAME), ReadString(module, IDS_APP_GUID)};
    }
    FreeLibrary(module);
    return product;
}
