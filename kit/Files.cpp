#include "kit/Files.h"

#include <windows.h>

std::wstring Widen(std::string_view text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string Narrow(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    std::string narrow(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(),
                        static_cast<int>(narrow.size()), nullptr, nullptr);
    return narrow;
}

std::string DescribeError(std::uint32_t code) {
    wchar_t buffer[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, code, 0, buffer, 512, nullptr);
    while (length > 0 && (buffer[length - 1] == L'\n' || buffer[length - 1] == L'\r')) {
        --length;
    }
    std::string words = length > 0 ? Narrow({buffer, length}) : "The system has no words for it.";
    // The system's speak of a file that is being saved.
    if (code == ERROR_FILE_TOO_LARGE) {
        words = "The file is too large.";
    }
    return words + " (error " + std::to_string(code) + ")";
}

std::wstring FromHostPath(const std::wstring& path) {
    if (path.empty() || path[0] != L'/') {
        return path;
    }
    using Convert = wchar_t*(CDECL*)(const char*);
    const auto convert = reinterpret_cast<Convert>(
        GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_dos_file_name"));
    if (convert == nullptr) {
        return path;
    }
    wchar_t* converted = convert(Narrow(path).c_str());
    if (converted == nullptr) {
        return path;
    }
    std::wstring result = converted;
    HeapFree(GetProcessHeap(), 0, converted);
    return result;
}

void FileCloser::operator()(void* handle) const {
    CloseHandle(handle);
}

File OpenPath(const std::wstring& path, std::uint32_t access, std::uint32_t share,
              std::uint32_t disposition) {
    const HANDLE handle = CreateFileW(path.c_str(), access, share, nullptr, disposition,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    // cppcheck-suppress resourceLeak ; the result owns it
    return File(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

File OpenToRead(const std::wstring& path) {
    return OpenPath(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
}

std::uint32_t ReadWholeFile(const std::wstring& path, std::uint32_t limit, std::string& content) {
    content.clear();
    const File file = OpenToRead(path);
    LARGE_INTEGER size = {};
    if (!file || !GetFileSizeEx(file.get(), &size)) {
        return GetLastError();
    }
    if (size.QuadPart > limit) {
        return ERROR_FILE_TOO_LARGE;
    }
    content.resize(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    const BOOL isRead =
        ReadFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &read, nullptr);
    content.resize(read);
    return isRead ? 0 : GetLastError();
}

std::uint32_t WriteWholeFile(const std::wstring& path, std::string_view content) {
    const File file = OpenPath(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    DWORD written = 0;
    return file && WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()),
                             &written, nullptr)
               ? 0
               : GetLastError();
}

std::uint64_t ReadFileSize(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    return static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}
