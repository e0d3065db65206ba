#include "operations/OfflineArchive.h"

#include <windows.h>

#include <string>

#include "diagnostics/Log.h"
#include "resources/ResourceIds.h"
#include "startup/PathBuffers.h"

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
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return done;
}

}  // namespace

bool CheckAndExtractAppArchive() {
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(IDR_ARCHIVE), L"DISTR");
    if (resource == nullptr) {
        return Fail(L"FindResource");
    }
    const HGLOBAL loaded = LoadResource(nullptr, resource);
    if (loaded == nullptr) {
        return Fail(L"LoadResource");
    }
    const void* data = LockResource(loaded);
    if (data == nullptr) {
        return Fail(L"LockResource");
    }
    if (!WriteArchive(data, SizeofResource(nullptr, resource))) {
        return false;
    }
    installAppLog.Info(L"CheckAndExtractAppArchive: It's offline. Extract done.");
    return true;
}
