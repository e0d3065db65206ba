#include "kit/ArchiveSection.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include "resources/ResourceIds.h"

namespace {

// The layout is that of "PE Format" in the platform's documentation: headers, section table, and
// the resource directory of three levels, type, name and language.
constexpr const char* sectionName = ".distr";
constexpr std::wstring_view typeName = L"DISTR";
// A section that begins on a page of the file can be mapped instead of read.
constexpr DWORD pageSize = 4096;
constexpr DWORD pieceSize = 4 << 20;

DWORD RoundUp(DWORD value, DWORD unit) {
    return (value + unit - 1) / unit * unit;
}

DWORD ReadAt(HANDLE file, DWORD place, void* data, DWORD length) {
    OVERLAPPED from = {};
    from.Offset = place;
    DWORD read = 0;
    if (!ReadFile(file, data, length, &read, &from)) {
        return GetLastError();
    }
    return read == length ? 0 : ERROR_BAD_EXE_FORMAT;
}

DWORD WriteAt(HANDLE file, DWORD place, const void* data, DWORD length) {
    OVERLAPPED to = {};
    to.Offset = place;
    DWORD written = 0;
    return WriteFile(file, data, length, &written, &to) ? 0 : GetLastError();
}

struct Headers {
    DWORD place = 0;  // of `nt` in the file
    IMAGE_NT_HEADERS32 nt = {};
    DWORD tablePlace = 0;
    std::vector<IMAGE_SECTION_HEADER> sections;
};

DWORD ReadHeaders(HANDLE file, Headers& headers) {
    IMAGE_DOS_HEADER dosHeader;
    DWORD error = ReadAt(file, 0, &dosHeader, sizeof dosHeader);
    if (error != 0) {
        return error;
    }
    headers.place = static_cast<DWORD>(dosHeader.e_lfanew);
    error = ReadAt(file, headers.place, &headers.nt, sizeof headers.nt);
    if (error != 0) {
        return error;
    }
    const IMAGE_FILE_HEADER& fileHeader = headers.nt.FileHeader;
    if (headers.nt.Signature != IMAGE_NT_SIGNATURE || fileHeader.NumberOfSections == 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    headers.tablePlace =
        static_cast<DWORD>(headers.place + offsetof(IMAGE_NT_HEADERS32, OptionalHeader) +
                           fileHeader.SizeOfOptionalHeader);
    headers.sections.resize(fileHeader.NumberOfSections);
    return ReadAt(file, headers.tablePlace, headers.sections.data(),
                  static_cast<DWORD>(headers.sections.size() * sizeof(IMAGE_SECTION_HEADER)));
}

/// The resource directory as it lies in the file.
struct Resources {
    DWORD place = 0;
    std::vector<char> data;

    template <typename Record>
    bool Get(DWORD offset, Record& record) const {
        if (offset > data.size() || data.size() - offset < sizeof record) {
            return false;
        }
        std::memcpy(&record, data.data() + offset, sizeof record);
        return true;
    }

    bool HasName(DWORD offset, std::wstring_view name) const {
        WORD length = 0;
        return Get(offset, length) && length == name.size() &&
               data.size() - offset - sizeof length >= name.size() * sizeof(wchar_t) &&
               std::memcmp(data.data() + offset + sizeof length, name.data(),
                           name.size() * sizeof(wchar_t)) == 0;
    }
};

DWORD ReadResources(HANDLE file, const Headers& headers, Resources& resources) {
    const IMAGE_DATA_DIRECTORY& directory =
        headers.nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE];
    const auto section =
        std::find_if(headers.sections.begin(), headers.sections.end(),
                     [&directory](const IMAGE_SECTION_HEADER& candidate) {
                         return candidate.VirtualAddress == directory.VirtualAddress;
                     });
    if (directory.Size == 0 || section == headers.sections.end()) {
        return ERROR_BAD_EXE_FORMAT;
    }
    resources.place = section->PointerToRawData;
    resources.data.resize(section->SizeOfRawData);
    return ReadAt(file, resources.place, resources.data.data(), section->SizeOfRawData);
}

/// Finds an entry of the directory at `offset`: by name, by id, or the first one when both are
/// empty. Returns its value, or 0.
DWORD FindEntry(const Resources& resources, DWORD offset, std::wstring_view name, WORD id) {
    IMAGE_RESOURCE_DIRECTORY directory;
    if (!resources.Get(offset, directory)) {
        return 0;
    }
    const DWORD count = directory.NumberOfNamedEntries + directory.NumberOfIdEntries;
    for (DWORD i = 0; i < count; ++i) {
        IMAGE_RESOURCE_DIRECTORY_ENTRY entry;
        if (!resources.Get(static_cast<DWORD>(offset + sizeof directory + i * sizeof entry),
                           entry)) {
            return 0;
        }
        const bool isWanted = !name.empty()
                                  ? entry.NameIsString && resources.HasName(entry.NameOffset, name)
                                  : id == 0 || (!entry.NameIsString && entry.Id == id);
        if (isWanted) {
            return entry.OffsetToData & ~IMAGE_RESOURCE_DATA_IS_DIRECTORY;
        }
    }
    return 0;
}

/// The place in the file of the archive resource's data entry, or 0.
DWORD FindDataEntry(const Resources& resources) {
    DWORD offset = FindEntry(resources, 0, typeName, 0);
    if (offset != 0) {
        offset = FindEntry(resources, offset, {}, IDR_ARCHIVE);
    }
    if (offset != 0) {
        offset = FindEntry(resources, offset, {}, 0);
    }
    IMAGE_RESOURCE_DATA_ENTRY entry;
    return offset != 0 && resources.Get(offset, entry) ? resources.place + offset : 0;
}

DWORD CopyBytes(HANDLE from, HANDLE to, DWORD place, DWORD& length) {
    std::vector<char> piece(pieceSize);
    length = 0;
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(from, piece.data(), pieceSize, &read, nullptr)) {
            return GetLastError();
        }
        if (read == 0) {
            return 0;
        }
        const DWORD error = WriteAt(to, place + length, piece.data(), read);
        if (error != 0) {
            return error;
        }
        length += read;
    }
}

/// Adds the section, whose bytes are written, to the headers.
DWORD WriteSection(HANDLE file, Headers& headers, IMAGE_SECTION_HEADER section) {
    IMAGE_OPTIONAL_HEADER32& optional = headers.nt.OptionalHeader;
    const DWORD tableSize =
        static_cast<DWORD>(headers.sections.size() * sizeof(IMAGE_SECTION_HEADER));
    if (headers.tablePlace + tableSize + sizeof section > optional.SizeOfHeaders) {
        return ERROR_BAD_EXE_FORMAT;
    }
    ++headers.nt.FileHeader.NumberOfSections;
    optional.SizeOfInitializedData += section.SizeOfRawData;
    optional.SizeOfImage =
        RoundUp(section.VirtualAddress + section.Misc.VirtualSize, optional.SectionAlignment);
    const DWORD error = WriteAt(file, headers.tablePlace + tableSize, &section, sizeof section);
    return error != 0 ? error : WriteAt(file, headers.place, &headers.nt, sizeof headers.nt);
}

DWORD Append(HANDLE file, HANDLE archive) {
    Headers headers;
    Resources resources;
    DWORD error = ReadHeaders(file, headers);
    if (error == 0) {
        error = ReadResources(file, headers, resources);
    }
    if (error != 0) {
        return error;
    }
    const DWORD entryPlace = FindDataEntry(resources);
    if (entryPlace == 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    const IMAGE_OPTIONAL_HEADER32& optional = headers.nt.OptionalHeader;
    const IMAGE_SECTION_HEADER& last = headers.sections.back();
    IMAGE_SECTION_HEADER section = {};
    std::memcpy(section.Name, sectionName, std::strlen(sectionName));
    section.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;
    section.VirtualAddress =
        RoundUp(last.VirtualAddress + last.Misc.VirtualSize, optional.SectionAlignment);
    section.PointerToRawData = RoundUp(GetFileSize(file, nullptr), pageSize);
    error = CopyBytes(archive, file, section.PointerToRawData, section.Misc.VirtualSize);
    if (error != 0) {
        return error;
    }
    const DWORD length = section.Misc.VirtualSize;
    section.SizeOfRawData = RoundUp(length, optional.FileAlignment);
    const std::vector<char> padding(section.SizeOfRawData - length);
    error = WriteAt(file, section.PointerToRawData + length, padding.data(),
                    static_cast<DWORD>(padding.size()));
    const DWORD entry[] = {section.VirtualAddress, length};  // OffsetToData, Size
    if (error == 0) {
        error = WriteAt(file, entryPlace, entry, sizeof entry);
    }
    return error != 0 ? error : WriteSection(file, headers, section);
}

}  // namespace

std::uint32_t AppendArchive(const std::wstring& executable, const std::wstring& archive) {
    const HANDLE from = CreateFileW(archive.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (from == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    const HANDLE to = CreateFileW(executable.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
    DWORD error = to == INVALID_HANDLE_VALUE ? GetLastError() : 0;
    if (error == 0) {
        error = Append(to, from);
        CloseHandle(to);
    }
    CloseHandle(from);
    return error;
}
