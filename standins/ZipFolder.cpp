// Stands in for: zip files as folders of the Shell's automation object (zipfldr.dll behind
// CLSID_Shell). Knows what an installer needs of it: open a folder, open a zip file as a folder,
// copy all items of the second into the first.
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>
#include <new>
#include <string>

#include "ComServer.h"
#include "ShellStubs.h"
#include "UnpackToFolder.h"

namespace {

// {8B1D3C52-6E0A-4C57-9F4B-2D7A61C0E935}, the same as in standins.reg.
constexpr GUID zipFolderClass = {
    0x8b1d3c52, 0x6e0a, 0x4c57, {0x9f, 0x4b, 0x2d, 0x7a, 0x61, 0xc0, 0xe9, 0x35}};

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// {C0F3A6D1-52B8-4E7D-8A19-7B64E2F5D03C}: tells our items from everybody else's.
constexpr GUID ownItems = {
    0xc0f3a6d1, 0x52b8, 0x4e7d, {0x8a, 0x19, 0x7b, 0x64, 0xe2, 0xf5, 0xd0, 0x3c}};

class ZipItems final : public ComObject<NoFolderItems> {
  public:
    explicit ZipItems(const std::wstring& zip) : zipPath(zip) {}
    const std::wstring zipPath;

  private:
    void* Find(REFIID iid) override {
        return iid == ownItems ? this : FindAmong<FolderItems, IDispatch>(this, iid);
    }
};

class PlainFolder final : public ComObject<NoFolder> {
  public:
    explicit PlainFolder(const std::wstring& folder) : path(folder) {}
    STDMETHODIMP CopyHere(VARIANT item, VARIANT) override {
        void* found = nullptr;
        if (item.vt != VT_DISPATCH || !item.pdispVal) {
            return E_INVALIDARG;
        }
        HRESULT result = item.pdispVal->QueryInterface(ownItems, &found);
        if (FAILED(result)) {
            return E_NOTIMPL;
        }
        const auto items = static_cast<ZipItems*>(found);
        try {
            result = UnpackToFolder(items->zipPath, path);
        } catch (const std::bad_alloc&) {
            result = E_OUTOFMEMORY;
        }
        items->Release();
        return result;
    }

  private:
    const std::wstring path;

    void* Find(REFIID iid) override {
        return FindAmong<Folder, IDispatch>(this, iid);
    }
};

class ZipFolder final : public ComObject<NoFolder> {
  public:
    explicit ZipFolder(const std::wstring& zip) : zipPath(zip) {}
    STDMETHODIMP Items(FolderItems** items) override {
        if (!items) {
            return E_POINTER;
        }
        return HandOut(new (std::nothrow) ZipItems(zipPath), __uuidof(FolderItems),
                       reinterpret_cast<void**>(items));
    }

  private:
    const std::wstring zipPath;

    void* Find(REFIID iid) override {
        return FindAmong<Folder, IDispatch>(this, iid);
    }
};

class ShellAutomation final : public ComObject<NoShellDispatch> {
  public:
    STDMETHODIMP NameSpace(VARIANT path, Folder** folder) override {
        if (!folder) {
            return E_POINTER;
        }
        *folder = nullptr;
        if (path.vt != VT_BSTR || !path.bstrVal) {
            return S_FALSE;
        }
        const auto out = reinterpret_cast<void**>(folder);
        if (IsFolder(path.bstrVal)) {
            return HandOut(new (std::nothrow) PlainFolder(path.bstrVal), __uuidof(Folder), out);
        }
        if (IsZipFile(path.bstrVal)) {
            return HandOut(new (std::nothrow) ZipFolder(path.bstrVal), __uuidof(Folder), out);
        }
        return S_FALSE;
    }

  private:
    void* Find(REFIID iid) override {
        return FindAmong<IShellDispatch, IDispatch>(this, iid);
    }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID asked, REFIID iid, void** out) {
    return ServeClass<ShellAutomation>(zipFolderClass, asked, iid, out);
}

STDAPI DllCanUnloadNow() {
    return liveObjects == 0 ? S_OK : S_FALSE;
}
