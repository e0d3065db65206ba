#include "kit/Stamp.h"

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <string_view>

#include "kit/ArchiveSection.h"
#include "kit/Files.h"
#include "kit/PeFile.h"
#include "kit/StringTable.h"
#include "kit/TextTable.h"
#include "kit/VersionBlock.h"
#include "kit/ZipWriter.h"
#include "resources/LoadConfigSection.h"
#include "resources/ResourceIds.h"

namespace {

// Russian; the program finds the resources of a language whatever the user's is.
constexpr WORD resourceLanguage = 1049;

std::string Failed(const std::string& what, const std::wstring& path, DWORD error) {
    return Narrow(path) + ": " + what + ": " + DescribeError(error);
}

Failure CheckArchive(const std::wstring& path) {
    const File file = OpenToRead(path);
    if (!file) {
        return Failed("the archive cannot be opened", path, GetLastError());
    }
    LARGE_INTEGER size = {};
    char head[4] = {};
    DWORD read = 0;
    if (!GetFileSizeEx(file.get(), &size) || !ReadFile(file.get(), head, 4, &read, nullptr)) {
        return Failed("the archive cannot be read", path, GetLastError());
    }
    if (std::string_view(head, 4) != "PK\x03\x04") {
        return Narrow(path) + ": is no archive; expected a zip file that is not empty";
    }
    if (static_cast<std::uint64_t>(size.QuadPart) >= archiveLimit) {
        return Narrow(path) + ": has " + std::to_string(size.QuadPart) +
               " bytes; expected less than 2 GiB";
    }
    return {};
}

HMODULE LoadData(const std::wstring& path) {
    return LoadLibraryExW(path.c_str(), nullptr,
                          LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
}

std::wstring ReadString(HMODULE module, unsigned id) {
    wchar_t text[260];
    return {text, static_cast<std::size_t>(LoadStringW(module, id, text, 260))};
}

Failure CheckBase(const std::wstring& path) {
    const HMODULE module = LoadData(path);
    if (module == nullptr) {
        return Failed("the base executable cannot be opened", path, GetLastError());
    }
    const bool isStamped =
        FindResourceW(module, MAKEINTRESOURCEW(identityBlock), RT_STRING) != nullptr;
    const bool hasBar = FindResourceW(module, MAKEINTRESOURCEW(IDB_BAR), RT_BITMAP) != nullptr;
    FreeLibrary(module);
    if (ReadMachine(path) != IMAGE_FILE_MACHINE_I386 || (!isStamped && !hasBar)) {
        return Narrow(path) + ": is another program; expected the base executable";
    }
    if (isStamped) {
        return Narrow(path) + ": is stamped already; expected the base executable";
    }
    return {};
}

/// One run of the system's resource update. The first failure is kept, what follows it is skipped.
struct Update {
    HANDLE handle;
    DWORD error;
    std::vector<StampedPart>& parts;

    void Add(const wchar_t* type, unsigned id, const void* data, std::size_t size) {
        if (error != 0) {
            return;
        }
        if (!UpdateResourceW(handle, type, MAKEINTRESOURCEW(id), resourceLanguage,
                             const_cast<void*>(data), static_cast<DWORD>(size))) {
            error = GetLastError();
        }
    }

    void Add(const char* name, const wchar_t* type, unsigned id, const std::string& data) {
        Add(type, id, data.data(), data.size());
        parts.push_back({name, data.size()});
    }
};

void AddProduct(Update& update, const Product& product) {
    update.Add("strings", RT_STRING, identityBlock, EncodeStringTable(product.identity));
    update.Add("texts", textsType, IDR_TEXTS, EncodeTextTable(product.texts));
    update.Add("picture", backgroundType, IDR_BACKGROUND, product.picture);
    std::string group = EncodeIconGroup(product.icon);
    std::uint64_t iconBytes = group.size();
    unsigned id = 0;
    for (const IconImage& image : product.icon) {
        update.Add(RT_ICON, ++id, image.data.data(), image.data.size());
        iconBytes += image.data.size();
    }
    update.Add(RT_GROUP_ICON, IDI_PRODUCT, group.data(), group.size());
    update.parts.push_back({"icon", iconBytes});
    update.Add("version", RT_VERSION, VS_VERSION_INFO, EncodeVersionBlock(product.identity));
}

DWORD WriteResources(const std::wstring& path, const StampJob& job, const Product& product,
                     std::vector<StampedPart>& parts) {
    Update update = {BeginUpdateResourceW(path.c_str(), FALSE), 0, parts};
    if (update.handle == nullptr) {
        return GetLastError();
    }
    AddProduct(update, product);
    // A placeholder: the archive itself is too large for the system's update.
    if (!job.archive.empty()) {
        update.Add(archiveType, IDR_ARCHIVE, "archive", 7);
    }
    const bool discard = update.error != 0;
    if (!EndUpdateResourceW(update.handle, discard) && !discard) {
        return GetLastError();
    }
    return update.error;
}

/// The update may say success and still have left out what it had no memory for.
bool IsComplete(const std::wstring& path, const std::vector<StampedPart>& parts) {
    std::uint64_t least = 0;
    for (const StampedPart& part : parts) {
        least += part.bytes;
    }
    return ReadFileSize(path) > least;
}

// The linker leaves this entry of the header empty. Without the section there is nothing to enter.
DWORD EnterLoadConfig(const std::wstring& path) {
    PeFile exe;
    DWORD error = OpenPeFile(path, GENERIC_READ | GENERIC_WRITE, exe);
    for (const IMAGE_SECTION_HEADER& section : exe.sections) {
        if (error == 0 && memcmp(section.Name, LOAD_CONFIG_SECTION, sizeof section.Name) == 0) {
            const IMAGE_DATA_DIRECTORY entry = {section.VirtualAddress, section.Misc.VirtualSize};
            constexpr DWORD index = IMAGE_DIRECTORY_ENTRY_LOAD_CONFIG;
            error = WriteAt(
                exe.file,
                exe.place + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.DataDirectory[index]),
                &entry, sizeof entry);
        }
    }
    return error;
}

DWORD CopyWritable(const std::wstring& from, const std::wstring& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), FALSE) ||
        !SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_NORMAL)) {
        return GetLastError();
    }
    return 0;
}

}  // namespace

Failure CheckStampJob(const StampJob& job) {
    Failure failure = job.base.empty() ? Failure() : CheckBase(job.base);
    if (!failure && !job.archive.empty()) {
        failure = CheckArchive(job.archive);
    }
    return failure;
}

Failure StampProduct(const StampJob& job, const Product& product, std::vector<StampedPart>& parts) {
    const std::wstring work = job.out + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    Failure failure;
    parts.clear();
    DWORD error = CopyWritable(job.base, work);
    if (error != 0) {
        failure = Failed("the base executable cannot be copied there", work, error);
    } else if ((error = WriteResources(work, job, product, parts)) != 0) {
        failure = Failed("the resources cannot be written", work, error);
    } else if (!IsComplete(work, parts)) {
        failure = Narrow(job.out) + ": the system left out resources";
    } else if (!job.archive.empty() && (error = AppendArchive(work, job.archive)) != 0) {
        failure = Failed("the archive cannot be put in", work, error);
    } else if ((error = EnterLoadConfig(work)) != 0) {
        failure = Failed("the load configuration cannot be written", work, error);
    } else if ((error = WritePeChecksum(work)) != 0) {
        failure = Failed("the checksum cannot be written", work, error);
    } else if (!MoveFileExW(work.c_str(), job.out.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        failure = Failed("cannot be replaced", job.out, GetLastError());
    }
    if (failure) {
        DeleteFileW(work.c_str());
    } else if (!job.archive.empty()) {
        parts.push_back({"archive", ReadFileSize(job.archive)});
    }
    return failure;
}

StampedProduct ReadStampedProduct(const std::wstring& path) {
    const HMODULE module = LoadData(path);
    StampedProduct product;
    if (module == nullptr) {
        return product;
    }
    if (FindResourceW(module, MAKEINTRESOURCEW(IDR_TEXTS), textsType) != nullptr) {
        product = {ReadString(module, IDS_DISPLAY_NAME), ReadString(module, IDS_APP_GUID)};
    }
    FreeLibrary(module);
    return product;
}
