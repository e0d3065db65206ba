#include "operations/OfflineArchive.h"

#include <windows.h>

#include <string>

#include "base/LastErrorKeeper.h"
#include "base/Log.h"
#include "base/PathBuffers.h"
#include "base/ResourceData.h"
#include "resources/ResourceIds.h"

namespace {

bool Fail(const wchar_t* call) {
    installAppLog.Error(std::wstring(L"CheckAndExtractAppArchive: error of ") + call + L": " +
                        LastErrorText());
    return false;
}

bool WriteArchive(const void* data, DWORD size) {
    const HANDLE file = CreateFileW(tempArchivePath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return Fail(L"CreateFile");
    }
    DWORD written = 0;
    const bool done = WriteFile(file, data, size, &written, nullptr) || Fail(L"WriteFile");
    const LastErrorKeeper keeper;
    CloseHandle(file);
    return done;
}

}  // namespace

bool CheckAndExtractAppArchive() {
    const ResourceData archive = FindResourceData(archiveType, IDR_ARCHIVE);
    if (archive.data == nullptr) {
        return Fail(archive.failedCall);
    }
    if (!WriteArchive(archive.data, archive.size)) {
        return false;
    }
    installAppLog.Info(L"CheckAndExtractAppArchive: It's offline. Extract done.");
    return true;
}
