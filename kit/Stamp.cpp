#include "kit/Stamp.h"

#include <windows.h>

#include <string_view>

#include "kit/ArchiveSection.h"
#include "kit/ExeKind.h"
#include "kit/Files.h"
#include "kit/PeChecksum.h"
#include "kit/StringTable.h"
#include "kit/TextTable.h"
#include "kit/VersionBlock.h"
#include "kit/ZipWriter.h"
#include "resources/ResourceIds.h"

namespace {

// Russian; the program finds the resources of a language whatever the user's is.
constexpr WORD resourceLanguage = 1049;

std::string Failed(const std::string& what, const std::wstring& path, DWORD error) {
    return Narrow(path) + ": " + what + ": " + DescribeError(error);
}

std::string CheckArchive(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return Failed("the archive cannot be opened", path, GetLastError());
    }
    LARGE_INTEGER size = {};
    char head[4] = {};
    DWORD read = 0;
    const bool known = GetFileSizeEx(file, &size) && ReadFile(file, head, 4, &read, nullptr);
    const DWORD error = GetLastError();
    CloseHandle(file);
    if (!known) {
        return Failed("the archive cannot be read", path, error);
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

std::string CheckBase(const std::wstring& path) {
    const HMODULE module = LoadLibraryExW(
        path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
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
    return isStamped ? Narrow(path) + ": is stamped already; expected the base executable" : "";
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
    update.Add("texts", L"TEXTS", IDR_TEXTS, EncodeTextTable(product.texts));
    update.Add("picture", L"PNG", IDR_BACKGROUND, product.picture);
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
        update.Add(L"DISTR", IDR_ARCHIVE, "archive", 7);
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

DWORD CopyWritable(const std::wstring& from, const std::wstring& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), FALSE) ||
        !SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_NORMAL)) {
        return GetLastError();
    }
    return 0;
}

}  // namespace

std::string CheckStampJob(const StampJob& job) {
    std::string wrong;
    if (!job.base.empty()) {
        wrong = CheckBase(job.base);
    }
    if (wrong.empty() && !job.archive.empty()) {
        wrong = CheckArchive(job.archive);
    }
    return wrong;
}

std::string StampProduct(const StampJob& job, const Product& product,
                         std::vector<StampedPart>& parts) {
    const std::wstring work = job.out + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    std::string wrong;
    parts.clear();
    DWORD error = CopyWritable(job.base, work);
    if (error != 0) {
        wrong = Failed("the base executable cannot be copied there", work, error);
    } else if ((error = WriteResources(work, job, product, parts)) != 0) {
        wrong = Failed("the resources cannot be written", work, error);
    } else if (!IsComplete(work, parts)) {
        wrong = Narrow(job.out) + ": the system left out resources";
    } else if (!job.archive.empty() && (error = AppendArchive(work, job.archive)) != 0) {
        wrong = Failed("the archive cannot be put in", work, error);
    } else if ((error = WritePeChecksum(work)) != 0) {
        wrong = Failed("the checksum cannot be written", work, error);
    } else if (!MoveFileExW(work.c_str(), job.out.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        wrong = Failed("cannot be replaced", job.out, GetLastError());
    }
    if (!wrong.empty()) {
        DeleteFileW(work.c_str());
    } else if (!job.archive.empty()) {
        parts.push_back({"archive", ReadFileSize(job.archive)});
    }
    return wrong;
}
