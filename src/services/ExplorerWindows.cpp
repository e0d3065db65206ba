#include "services/ExplorerWindows.h"

#include <exdisp.h>
#include <servprov.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <string>

#include "base/Log.h"
#include "base/PathBuffers.h"

namespace {

using Microsoft::WRL::ComPtr;

template <typename Interface>
HRESULT Ask(IUnknown* object, REFIID id, ComPtr<Interface>& answer) {
    return object->QueryInterface(id, reinterpret_cast<void**>(answer.GetAddressOf()));
}

// What a call must have given to go on: no error, and an object.
template <typename Interface>
bool Has(HRESULT result, const ComPtr<Interface>& object) {
    return SUCCEEDED(result) && object;
}

// The item list of the folder that a window shows; the caller frees it.
HRESULT GetShownFolder(IUnknown* window, LPITEMIDLIST& folder) {
    ComPtr<IServiceProvider> services;
    HRESULT result = Ask(window, IID_IServiceProvider, services);
    if (!Has(result, services)) {
        return result;
    }
    ComPtr<IShellBrowser> browser;
    result = services->QueryService(SID_STopLevelBrowser, IID_IShellBrowser,
                                    reinterpret_cast<void**>(browser.GetAddressOf()));
    if (!Has(result, browser)) {
        return result;
    }
    ComPtr<IShellView> view;
    result = browser->QueryActiveShellView(view.GetAddressOf());
    if (!Has(result, view)) {
        return result;
    }
    ComPtr<IFolderView> folderView;
    result = Ask(view.Get(), IID_IFolderView, folderView);
    if (!Has(result, folderView)) {
        return result;
    }
    ComPtr<IPersistFolder2> persist;
    result = folderView->GetFolder(IID_IPersistFolder2,
                                   reinterpret_cast<void**>(persist.GetAddressOf()));
    return Has(result, persist) ? persist->GetCurFolder(&folder) : result;
}

// The file system path of an item list as new text for CoTaskMemFree; null for a virtual folder.
HRESULT GetParsingName(LPCITEMIDLIST folder, LPWSTR& name) {
    ComPtr<IShellFolder> parent;
    LPCITEMIDLIST item = nullptr;
    HRESULT result = SHBindToParent(folder, IID_IShellFolder,
                                    reinterpret_cast<void**>(parent.GetAddressOf()), &item);
    if (!Has(result, parent)) {
        return result;
    }
    SFGAOF attributes = SFGAO_FILESYSTEM;
    result = parent->GetAttributesOf(1, &item, &attributes);
    if (FAILED(result) || (attributes & SFGAO_FILESYSTEM) == 0) {
        return result;
    }
    STRRET text{};
    result = parent->GetDisplayNameOf(item, SHGDN_FORPARSING, &text);
    return FAILED(result) ? result : StrRetToStrW(&text, item, &name);
}

bool BeginsWith(const wchar_t* name, const wchar_t* path, int pathLength) {
    return lstrlenW(name) >= pathLength &&
           CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, name, pathLength, path,
                          pathLength) == CSTR_EQUAL;
}

HRESULT CloseIfUnder(IWebBrowser2* browser, LPCITEMIDLIST folder, const wchar_t* path,
                     int pathLength) {
    LPWSTR name = nullptr;
    HRESULT result = GetParsingName(folder, name);
    const std::wstring longPath = PathForm(GetLongPathNameW, path);
    if (SUCCEEDED(result) && name != nullptr &&
        (BeginsWith(name, path, pathLength) ||
         BeginsWith(name, longPath.c_str(), static_cast<int>(longPath.size())))) {
        utilsLog.Info(std::wstring(L"CloseWindowsExplorerWindowsForPath: found explorer [") + name +
                      L"], quit it!");
        result = browser->Quit();
    }
    CoTaskMemFree(name);
    return result;
}

HRESULT CloseWindowAt(IShellWindows* windows, long index, const wchar_t* path, int pathLength) {
    VARIANT position;
    VariantInit(&position);
    position.vt = VT_I4;
    position.lVal = index;
    ComPtr<IDispatch> window;
    HRESULT result = windows->Item(position, window.GetAddressOf());
    if (!Has(result, window)) {
        return result;
    }
    ComPtr<IWebBrowser2> browser;
    result = Ask(window.Get(), IID_IWebBrowser2, browser);
    if (!Has(result, browser)) {
        return result;
    }
    LPITEMIDLIST folder = nullptr;
    result = GetShownFolder(window.Get(), folder);
    if (SUCCEEDED(result) && folder != nullptr) {
        result = CloseIfUnder(browser.Get(), folder, path, pathLength);
    }
    CoTaskMemFree(folder);
    return result;
}

HRESULT CloseWindows(const wchar_t* path, int pathLength) {
    ComPtr<IShellWindows> windows;
    HRESULT result =
        CoCreateInstance(CLSID_ShellWindows, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                         IID_IShellWindows, reinterpret_cast<void**>(windows.GetAddressOf()));
    if (FAILED(result)) {
        return result;
    }
    long count = 0;
    result = windows->get_Count(&count);
    if (FAILED(result)) {
        return result;
    }
    // Backwards, since a window that closes moves those behind it.
    for (long index = count - 1; index >= 0; --index) {
        result = CloseWindowAt(windows.Get(), index, path, pathLength);
    }
    return result;
}

}  // namespace

HRESULT CloseWindowsExplorerWindowsForPath(const wchar_t* path) {
    utilsLog.Info(std::wstring(L"CloseWindowsExplorerWindowsForPath: [") + path + L"]");
    CoInitialize(nullptr);
    const HRESULT result = CloseWindows(path, lstrlenW(path));
    CoUninitialize();
    utilsLog.Info(L"CloseWindowsExplorerWindowsForPath: Done: " + HResultText(result));
    return result;
}
