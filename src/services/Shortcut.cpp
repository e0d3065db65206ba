#include "services/Shortcut.h"

#include <propsys.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <strsafe.h>
#include <wrl/client.h>

#include "base/Log.h"
#include "base/PathBuffers.h"
#include "processes/Launch.h"

namespace {

using Microsoft::WRL::ComPtr;

// PKEY_AppUserModel_ID.
constexpr PROPERTYKEY appUserModelIdKey = {
    {0x9F4C2855, 0x9F79, 0x4B39, {0xA8, 0xD0, 0xE1, 0xD4, 0x2D, 0xE1, 0xD5, 0xF3}}, 5};

constexpr wchar_t pinCommand[] = L"c:5386";
constexpr wchar_t unpinCommand[] = L"c:5387";

bool IsGiven(const wchar_t* text) {
    return text != nullptr && *text != L'\0';
}

HRESULT StoreAppId(IShellLinkW* link, const wchar_t* appId, ComPtr<IPropertyStore>& store) {
    HRESULT result =
        link->QueryInterface(IID_IPropertyStore, reinterpret_cast<void**>(store.GetAddressOf()));
    if (FAILED(result)) {
        return result;
    }
    PROPVARIANT value;
    PropVariantInit(&value);
    result = SHStrDupW(appId, &value.pwszVal);
    if (SUCCEEDED(result)) {
        value.vt = VT_LPWSTR;
        result = store->SetValue(appUserModelIdKey, value);
        if (SUCCEEDED(result)) {
            result = store->Commit();
        }
    }
    PropVariantClear(&value);
    return result;
}

void LogProperty(const wchar_t* call, const wchar_t* value, HRESULT result) {
    utilsLog.Info(std::wstring(L"CreateShortCut: ") + call + L" [" + value + L"] result: " +
                  HResultText(result));
}

HRESULT SaveLink(IShellLinkW* link) {
    ComPtr<IPersistFile> file;
    const HRESULT result =
        link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(file.GetAddressOf()));
    return FAILED(result) ? result : file->Save(programsShortcutPath, TRUE);
}

HRESULT WriteLink(const wchar_t* target, const wchar_t* iconPath, const wchar_t* description,
                  const wchar_t* workingDirectory, const wchar_t* appId) {
    ComPtr<IShellLinkW> link;
    const HRESULT created =
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                         reinterpret_cast<void**>(link.GetAddressOf()));
    if (FAILED(created)) {
        return created;
    }
    link->SetPath(target);
    link->SetArguments(L"");
    link->SetIconLocation(iconPath, 0);
    if (IsGiven(description)) {
        LogProperty(L"SetDescription", description, link->SetDescription(description));
    }
    if (IsGiven(workingDirectory)) {
        LogProperty(L"SetWorkingDirectory", workingDirectory,
                    link->SetWorkingDirectory(workingDirectory));
    }
    // Some systems write the properties only while the store is still there.
    ComPtr<IPropertyStore> store;
    if (IsGiven(appId)) {
        LogProperty(L"SetAppId", appId, StoreAppId(link.Get(), appId, store));
    }
    return SaveLink(link.Get());
}

void RunPinTool(const wchar_t* appFolder, const wchar_t* command) {
    wchar_t tool[MAX_PATH];
    wchar_t arguments[MAX_PATH];
    if (FAILED(StringCchPrintfW(tool, MAX_PATH, L"%s\\syspin.exe", appFolder)) ||
        FAILED(
            StringCchPrintfW(arguments, MAX_PATH, L"\"%s\" %s", programsShortcutPath, command))) {
        return;
    }
    ExecuteApp(tool, arguments, CREATE_NO_WINDOW, true);
}

}  // namespace

HRESULT CreateShortCut(const wchar_t* target, const wchar_t* iconPath, const wchar_t* description,
                       const wchar_t* workingDirectory, const wchar_t* appId) {
    utilsLog.Info(std::wstring(L"CreateShortCut: target [") + target + L"], link file [" +
                  programsShortcutPath + L"]");
    CoInitialize(nullptr);
    const HRESULT result = WriteLink(target, iconPath, description, workingDirectory, appId);
    CoUninitialize();
    utilsLog.Info(L"CreateShortCut: Done: " + HResultText(result));
    return result;
}

void PinToTaskbar(const wchar_t* appFolder) {
    RunPinTool(appFolder, pinCommand);
}

void UnpinFromTaskbar(const wchar_t* appFolder) {
    RunPinTool(appFolder, unpinCommand);
}

bool SetAumIdForProcess(const std::wstring& appId) {
    utilsLog.Info(L"SetAumIdForProcess: appId [" + appId + L"]");
    const HRESULT result =
        appId.empty() ? E_INVALIDARG : SetCurrentProcessExplicitAppUserModelID(appId.c_str());
    if (FAILED(result)) {
        utilsLog.Error(L"SetAumIdForProcess: error of SetCurrentProcessExplicitAppUserModelID: " +
                       HResultText(result));
        return false;
    }
    utilsLog.Info(L"SetAumIdForProcess: Done");
    return true;
}
