#include "kit/ArchiveSection.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "kit/PeFile.h"
#include "resources/ResourceIds.h"

namespace {

// The resource directory has three levels: type, name and language.
constexpr const char* sectionName = ".distr";
// A section that begins on a page of the file can be mapped instead of read.
constexpr DWORD pageSize = 4096;
constexpr DWORD pieceSize = 4 << 20;

DWORD RoundUp(DWORD value, DWORD unit) {
    return (value + unit - 1) / unit * unit;
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

DWORD ReadResources(const PeFile& exe, Resources& resources) {
    const IMAGE_DATA_DIRECTORY& directory =
        exe.headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE];
    const auto section =
        std::find_if(exe.sections.begin(), exe.sections.end(),
                     [&directory](const IMAGE_SECTION_HEADER& candidate) {
                         return candidate.VirtualAddress == directory.VirtualAddress;
                     });
    if (directory.Size == 0 || section == exe.sections.end()) {
        return ERROR_BAD_EXE_FORMAT;
    }
    resources.place = section->PointerToRawData;
    resources.data.resize(section->SizeOfRawData);
    return ReadAt(exe.file, resources.place, resources.data.data(), resources.data.size());
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
    DWORD offset = FindEntry(resources, 0, archiveType, 0);
    offset = offset != 0 ? FindEntry(resources, offset, {}, IDR_ARCHIVE) : 0;
    offset = offset != 0 ? FindEntry(resources, offset, {}, 0) : 0;
    IMAGE_RESOURCE_DATA_ENTRY entry;
    return offset != 0 && resources.Get(offset, entry) ? resources.place + offset : 0;
}

DWORD CopyBytes(const File& from, const File& to, DWORD place, DWORD& length) {
    std::vector<char> piece(pieceSize);
    length = 0;
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(from.get(), piece.data(), pieceSize, &read, nullptr)) {
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

/// Puts the archive's bytes behind the others. Fills in a section for them.
DWORD WriteBytes(const PeFile& exe, const File& archive, IMAGE_SECTION_HEADER& section) {
    const IMAGE_OPTIONAL_HEADER32& optional = exe.headers.OptionalHeader;
    const IMAGE_SECTION_HEADER& last = exe.sections.back();
    std::memcpy(section.Name, sectionName, std::strlen(sectionName));
    section.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;
    section.VirtualAddress =
        RoundUp(last.VirtualAddress + last.Misc.VirtualSize, optional.SectionAlignment);
    section.PointerToRawData = RoundUp(GetFileSize(exe.file.get(), nullptr), pageSize);
    DWORD& length = section.Misc.VirtualSize;
    const DWORD error = CopyBytes(archive, exe.file, section.PointerToRawData, length);
    section.SizeOfRawData = RoundUp(length, optional.FileAlignment);
    const std::vector<char> padding(section.SizeOfRawData - length);
    return error != 0 ? error
                      : WriteAt(exe.file, section.PointerToRawData + length, padding.data(),
                                padding.size());
}

/// Adds the section, whose bytes are written, to the headers.
DWORD WriteSection(PeFile& exe, const IMAGE_SECTION_HEADER& section) {
    IMAGE_OPTIONAL_HEADER32& optional = exe.headers.OptionalHeader;
    const auto end = static_cast<DWORD>(exe.tablePlace + exe.sections.size() * sizeof section);
    if (end + sizeof section > optional.SizeOfHeaders) {
        return ERROR_BAD_EXE_FORMAT;
    }
    ++exe.headers.FileHeader.NumberOfSections;
    optional.SizeOfInitializedData += section.SizeOfRawData;
    optional.SizeOfImage =
        RoundUp(section.VirtualAddress + section.Misc.VirtualSize, optional.SectionAlignment);
    const DWORD error = WriteAt(exe.file, end, &section, sizeof section);
    return error != 0 ? error : WriteAt(exe.file, exe.place, &exe.headers, sizeof exe.headers);
}

}  // namespace

std::uint32_t AppendArchive(const std::wstring& executable, const std::wstring& archive) {
    const File from = OpenToRead(archive);
    if (!from) {
        return GetLastError();
    }
    PeFile exe;
    Resources resources;
    DWORD error = OpenPeFile(executable, GENERIC_READ | GENERIC_WRITE, exe);
    if (error == 0) {
        error = ReadResources(exe, resources);
    }
    const DWORD entryPlace = error == 0 ? FindDataEntry(resources) : 0;
    if (entryPlace == 0) {
        return error != 0 ? error : ERROR_BAD_EXE_FORMAT;
    }
    IMAGE_SECTION_HEADER section = {};
    error = WriteBytes(exe, from, section);
    const DWORD entry[] = {section.VirtualAddress,
                           section.Misc.VirtualSize};  // as its fields stand
    if (error == 0) {
        error = WriteAt(exe.file, entryPlace, entry, sizeof entry);
    }
    return error != 0 ? error : WriteSection(exe, section);
}
