// Stands in for: the list of open Explorer windows (CLSID_ShellWindows). The windows come from the
// file that the environment variable STANDIN_SHELL_WINDOWS names: UTF-8, one folder per line; a
// line "!" is an index that yields no object. A window told to quit is added to the file of the
// same name with ".quit" behind it, and no list made later holds it.
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>
#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include <servprov.h>
#include <shlguid.h>
#include <shlobj.h>

#include "ComServer.h"
#include "ShellStubs.h"

namespace {

// {5E92B7A4-1C3F-4D68-B05E-93D84A7F2C16}, the same as in standins.reg.
constexpr GUID shellWindowsClass = {
    0x5e92b7a4, 0x1c3f, 0x4d68, {0xb0, 0x5e, 0x93, 0xd8, 0x4a, 0x7f, 0x2c, 0x16}};

std::wstring GetListPath() {
    wchar_t path[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", path, MAX_PATH);
    return length < MAX_PATH ? std::wstring(path, length) : std::wstring();
}

// The file's lines without their ends; none when it cannot be read.
std::vector<std::string> ReadLines(const std::wstring& path) {
    std::vector<std::string> lines;
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return lines;
    }
    std::string text(GetFileSize(file, nullptr), '\0');
    DWORD got = 0;
    if (!ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &got, nullptr)) {
        got = 0;
    }
    CloseHandle(file);
    text.resize(got);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty()) {
            lines.push_back(line);
        }
        start = end + 1;
    }
    return lines;
}

std::vector<std::string> ReadWindows() {
    const std::wstring listPath = GetListPath();
    std::vector<std::string> windows;
    if (listPath.empty()) {
        return windows;
    }
    windows = ReadLines(listPath);
    for (const std::string& closed : ReadLines(listPath + L".quit")) {
        const auto place = std::find(windows.begin(), windows.end(), closed);
        if (place != windows.end()) {
            windows.erase(place);
        }
    }
    return windows;
}

HRESULT RecordQuit(const std::string& folder) {
    const HANDLE file = CreateFileW((GetListPath() + L".quit").c_str(), FILE_APPEND_DATA,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    const std::string line = folder + "\n";
    DWORD written = 0;
    const bool isWritten =
        WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    const HRESULT result = isWritten ? S_OK : HRESULT_FROM_WIN32(GetLastError());
    CloseHandle(file);
    return result;
}

std::wstring Widen(const std::string& text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size));
    return wide;
}

class ShownFolder final : public ComObject<IPersistFolder2> {
  public:
    explicit ShownFolder(const std::string& folder) : path(folder) {}
    STDMETHODIMP GetClassID(CLSID* id) override {
        *id = CLSID_ShellFSFolder;
        return S_OK;
    }
    STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetCurFolder(PIDLIST_ABSOLUTE* list) override {
        return SHParseDisplayName(Widen(path).c_str(), nullptr, list, 0, nullptr);
    }

  private:
    const std::string path;

    void* Find(REFIID iid) override {
        return FindAmong<IPersistFolder2, IPersistFolder, IPersist>(this, iid);
    }
};

class View final : public ComObject<NoShellView, NoFolderView> {
  public:
    explicit View(const std::string& folder) : path(folder) {}
    STDMETHODIMP GetFolder(REFIID iid, void** out) override {
        return HandOut(new (std::nothrow) ShownFolder(path), iid, out);
    }

  private:
    const std::string path;

    void* Find(REFIID iid) override {
        return FindAmong<IShellView, IFolderView>(this, iid);
    }
};

class Browser final : public ComObject<NoShellBrowser> {
  public:
    explicit Browser(const std::string& folder) : path(folder) {}
    STDMETHODIMP QueryActiveShellView(IShellView** view) override {
        return HandOut(new (std::nothrow) View(path), __uuidof(IShellView),
                       reinterpret_cast<void**>(view));
    }

  private:
    const std::string path;

    void* Find(REFIID iid) override {
        return FindAmong<IShellBrowser, IOleWindow>(this, iid);
    }
};

class ExplorerWindow final : public ComObject<NoWebBrowser, IServiceProvider> {
  public:
    explicit ExplorerWindow(const std::string& folder) : path(folder) {}
    STDMETHODIMP Quit() override {
        return RecordQuit(path);
    }
    STDMETHODIMP QueryService(REFGUID service, REFIID iid, void** out) override {
        if (service != SID_STopLevelBrowser) {
            return E_NOINTERFACE;
        }
        return HandOut(new (std::nothrow) Browser(path), iid, out);
    }

  private:
    const std::string path;

    void* Find(REFIID iid) override {
        return FindAmong<IWebBrowser2, IWebBrowserApp, IDispatch, IServiceProvider>(this, iid);
    }
};

class WindowList final : public ComObject<NoShellWindows> {
  public:
    STDMETHODIMP get_Count(LONG* count) override {
        *count = static_cast<LONG>(windows.size());
        return S_OK;
    }
    STDMETHODIMP Item(VARIANT index, IDispatch** window) override {
        *window = nullptr;
        if (index.vt != VT_I4) {
            return E_INVALIDARG;
        }
        if (index.lVal < 0 || static_cast<std::size_t>(index.lVal) >= windows.size() ||
            windows[index.lVal] == "!") {
            return S_FALSE;
        }
        return HandOut(new (std::nothrow) ExplorerWindow(windows[index.lVal]), __uuidof(IDispatch),
                       reinterpret_cast<void**>(window));
    }

  private:
    const std::vector<std::string> windows = ReadWindows();

    void* Find(REFIID iid) override {
        return FindAmong<IShellWindows, IDispatch>(this, iid);
    }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID asked, REFIID iid, void** out) {
    return ServeClass<WindowList>(shellWindowsClass, asked, iid, out);
}

STDAPI DllCanUnloadNow() {
    return liveObjects == 0 ? S_OK : S_FALSE;
}
