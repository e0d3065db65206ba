#include "services/Unzip.h"

#include <windows.h>
#include <shellapi.h>
#include <shldisp.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <new>
#include <string>

#include "base/Log.h"
#include "fs/FilePrimitives.h"
#include "fs/RetryingOperations.h"

namespace {

using Microsoft::WRL::ComPtr;

constexpr LONG copyFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;

HRESULT OpenFolder(IShellDispatch* shell, const wchar_t* path, ComPtr<Folder>& folder) {
    VARIANT name;
    VariantInit(&name);
    name.vt = VT_BSTR;
    name.bstrVal = SysAllocString(path);
    if (name.bstrVal == nullptr) {
        throw std::bad_alloc();
    }
    const HRESULT result = shell->NameSpace(name, folder.GetAddressOf());
    VariantClear(&name);
    return result;
}

HRESULT CopyItems(Folder* destination, FolderItems* items) {
    VARIANT item;
    VariantInit(&item);
    item.vt = VT_DISPATCH;
    item.pdispVal = items;
    VARIANT options;
    VariantInit(&options);
    options.vt = VT_I4;
    options.lVal = copyFlags;
    return destination->CopyHere(item, options);
}

// The result is that of the last step which the outcome hangs on; a zip file that the Shell does
// not take for a folder leaves that of opening the destination.
HRESULT CopyZipContent(const wchar_t* zipPath, const wchar_t* folder) {
    ComPtr<IShellDispatch> shell;
    HRESULT result =
        CoCreateInstance(CLSID_Shell, nullptr, CLSCTX_INPROC_SERVER, IID_IShellDispatch,
                         reinterpret_cast<void**>(shell.GetAddressOf()));
    if (FAILED(result)) {
        return result;
    }
    ComPtr<Folder> destination;
    result = OpenFolder(shell.Get(), folder, destination);
    if (FAILED(result) || !destination) {
        return result;
    }
    ComPtr<Folder> source;
    OpenFolder(shell.Get(), zipPath, source);
    if (!source) {
        return result;
    }
    ComPtr<FolderItems> items;
    source->Items(items.GetAddressOf());
    return CopyItems(destination.Get(), items.Get());
}

}  // namespace

int UnzipToFolder(const wchar_t* zipPath, const wchar_t* folder) {
    if (zipPath == nullptr) {
        utilsLog.Error(L"UnzipToFolder: NULL in args");
        return -1;
    }
    utilsLog.Info(std::wstring(L"UnzipToFolder: from [") + zipPath + L"], to [" + folder + L"]");
    if (!PathFileExistsW(zipPath)) {
        utilsLog.Error(L"UnzipToFolder: zip file not exists!");
        return -1;
    }
    if (SHRemoveObject(folder, false) < 0 || CreateDir(folder) < 0) {
        return -1;
    }
    CoInitialize(nullptr);
    HRESULT result = S_OK;
    try {
        result = CopyZipContent(zipPath, folder);
    } catch (...) {
        utilsLog.Error(L"UnzipToFolder: exception!");
        CoUninitialize();
        return -1;
    }
    CoUninitialize();
    SHRemoveObject(zipPath, false);
    utilsLog.Info(L"UnzipToFolder: result: " + HResultText(result));
    return 0;
}
