// Through the registered classes, the way an installer comes to them.
#include <windows.h>
#include <exdisp.h>
#include <oleauto.h>
#include <servprov.h>
#include <shldisp.h>
#include <shlguid.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ZipBuilder.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;

class StandIns : public testing::Test {
  protected:
    ScratchFolder scratch;
    const fs::path root = scratch.path, target = root / "target", zip = root / "a.zip";

    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        fs::create_directory(target);
    }
    void TearDown() override {
        CoUninitialize();
    }
};

VARIANT ToVariant(const fs::path& path) {
    VARIANT variant;
    VariantInit(&variant);
    variant.vt = VT_BSTR;
    variant.bstrVal = SysAllocString(path.c_str());
    return variant;
}

Folder* OpenFolder(IShellDispatch* shell, const fs::path& path) {
    VARIANT name = ToVariant(path);
    Folder* folder = nullptr;
    const HRESULT result = shell->NameSpace(name, &folder);
    EXPECT_EQ(result, folder ? S_OK : S_FALSE);
    VariantClear(&name);
    return folder;
}

// The result of the copy; S_FALSE when the file is not taken for a zip folder.
HRESULT Unzip(const fs::path& zip, const fs::path& target) {
    IShellDispatch* shell = nullptr;
    HRESULT result = CoCreateInstance(CLSID_Shell, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IShellDispatch, reinterpret_cast<void**>(&shell));
    if (FAILED(result))
        return result;
    Folder* const to = OpenFolder(shell, target);
    Folder* const from = OpenFolder(shell, zip);
    result = S_FALSE;
    if (to && from) {
        FolderItems* items = nullptr;
        EXPECT_EQ(from->Items(&items), S_OK);
        VARIANT item, flags;
        VariantInit(&item);
        VariantInit(&flags);
        item.vt = VT_DISPATCH;
        item.pdispVal = items;
        flags.vt = VT_I4;
        flags.lVal = 0x614;
        result = to->CopyHere(item, flags);
        items->Release();
    }
    if (from)
        from->Release();
    if (to)
        to->Release();
    shell->Release();
    return result;
}

// Wine makes and removes no symbolic links for programs of Windows, but starts programs of the
// machine. Those have no handle to wait for, so it waits until the link is there, or gone.
bool RunOnMachine(const wchar_t* program, const std::wstring& arguments, const fs::path& link) {
    const bool wasThere = fs::exists(link);
    std::wstring line = L"x " + arguments + L' ' + link.filename().native();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        link.parent_path().c_str(), &startup, &process))
        return false;
    for (int left = 500; left > 0 && fs::exists(link) == wasThere; --left)
        Sleep(10);
    return fs::exists(link) != wasThere;
}

bool MakeLink(const std::wstring& text, const fs::path& link) {
    return RunOnMachine(L"Z:\\usr\\bin\\ln", L"-s " + text, link);
}

}  // namespace

TEST_F(StandIns, ZipFolderIsCopiedWhole) {
    WriteFileText(zip,
                  BuildZip({{.name = "a.txt", .content = "new"},
                            {.name = "deep/er/b", .content = MakeNoise(3000000), .deflate = true},
                            {.name = "none/"}}));
    WriteFileText(target / "a.txt", "old");
    ASSERT_EQ(Unzip(zip, target), S_OK);
    EXPECT_EQ(ReadFileText(target / "a.txt"), "new");
    EXPECT_EQ(ReadFileText(target / "deep/er/b"), MakeNoise(3000000));
    EXPECT_TRUE(fs::is_directory(target / "none"));

    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW((target / "a.txt").c_str(), GetFileExInfoStandard, &data));
    FILETIME local;
    FileTimeToLocalFileTime(&data.ftLastWriteTime, &local);
    WORD date = 0, time = 0;
    FileTimeToDosDateTime(&local, &date, &time);
    EXPECT_EQ(date, ZipPart{}.dosDate);
    EXPECT_EQ(time, ZipPart{}.dosTime);
    EXPECT_TRUE(fs::remove(zip)) << "the archive is still held open";
}

TEST_F(StandIns, NothingIsWrittenForARefusedArchive) {
    const ZipPart good = {.name = "good", .content = "x"};
    const struct {
        std::string archive;
        HRESULT expected;
    } cases[] = {
        {BuildZip({good, {.name = "../evil"}}), HRESULT_FROM_WIN32(ERROR_BAD_PATHNAME)},
        {BuildZip({good, {.name = "b", .flags = 1}}), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED)},
        {BuildZip({good}).substr(0, 60), HRESULT_FROM_WIN32(ERROR_INVALID_DATA)},
        {"no zip at all", S_FALSE},
    };
    for (const auto& [archive, expected] : cases) {
        WriteFileText(zip, archive);
        EXPECT_EQ(Unzip(zip, target), expected);
        EXPECT_TRUE(fs::is_empty(target));
    }
    EXPECT_FALSE(fs::exists(root / "evil"));
    EXPECT_EQ(Unzip(root / "missing.zip", target), S_FALSE);

    WriteFileText(zip, BuildZip({good, {.name = "bad", .content = "y", .crc = 1}}));
    EXPECT_EQ(Unzip(zip, target), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_FALSE(fs::exists(target / "bad"));
}

TEST_F(StandIns, LinksInTheFolderAreNotFollowed) {
    const fs::path outside = root / "outside";
    fs::create_directory(outside);
    WriteFileText(outside / "file", "untouched");
    ASSERT_TRUE(CreateHardLinkW((target / "file").c_str(), (outside / "file").c_str(), nullptr));
    ASSERT_TRUE(MakeLink(L"../outside/file", target / "symbolic"));
    WriteFileText(zip, BuildZip({{.name = "file", .content = "new"},
                                 {.name = "symbolic", .content = "new"}}));
    EXPECT_EQ(Unzip(zip, target), S_OK);
    EXPECT_EQ(ReadFileText(target / "file"), "new");
    EXPECT_EQ(ReadFileText(target / "symbolic"), "new");
    EXPECT_EQ(ReadFileText(outside / "file"), "untouched");

    ASSERT_TRUE(MakeLink(L"../outside", target / "folder"));
    WriteFileText(zip, BuildZip({{.name = "folder/file", .content = "new"}}));
    EXPECT_EQ(Unzip(zip, target), HRESULT_FROM_WIN32(ERROR_CANT_RESOLVE_FILENAME));
    EXPECT_TRUE(RunOnMachine(L"Z:\\usr\\bin\\rm", L"--", target / "folder"));
    EXPECT_EQ(ReadFileText(outside / "file"), "untouched");
}

TEST_F(StandIns, ExplorerWindowsComeFromTheList) {
    const fs::path list = root / "list", folder = root / L"f\u00FC";
    fs::create_directory(folder);
    const auto lines = root.u8string() + u8"\r\n!\n" + folder.u8string() + u8"\n";
    WriteFileText(list, std::string(lines.begin(), lines.end()));
    const auto open = [] {
        IShellWindows* windows = nullptr;
        EXPECT_EQ(CoCreateInstance(CLSID_ShellWindows, nullptr,
                                   CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IShellWindows,
                                   reinterpret_cast<void**>(&windows)),
                  S_OK);
        return windows;
    };
    const auto count = [&] {
        IShellWindows* const windows = open();
        LONG number = -1;
        EXPECT_EQ(windows->get_Count(&number), S_OK);
        windows->Release();
        return number;
    };
    EXPECT_EQ(count(), 0);
    SetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", list.c_str());
    EXPECT_EQ(count(), 3);

    IShellWindows* const windows = open();
    VARIANT index;
    VariantInit(&index);
    index.vt = VT_I4;
    IDispatch* window = nullptr;
    for (const LONG nothing : {-1, 1, 3}) {
        index.lVal = nothing;
        EXPECT_EQ(windows->Item(index, &window), S_FALSE);
        EXPECT_EQ(window, nullptr);
    }
    index.lVal = 2;
    ASSERT_EQ(windows->Item(index, &window), S_OK);
    IServiceProvider* provider = nullptr;
    IShellBrowser* browser = nullptr;
    IShellView* view = nullptr;
    IFolderView* folderView = nullptr;
    IPersistFolder2* persist = nullptr;
    PIDLIST_ABSOLUTE place = nullptr;
    IWebBrowser2* closer = nullptr;
    ASSERT_EQ(window->QueryInterface(&provider), S_OK);
    ASSERT_EQ(provider->QueryService(SID_STopLevelBrowser, IID_IShellBrowser,
                                     reinterpret_cast<void**>(&browser)),
              S_OK);
    ASSERT_EQ(browser->QueryActiveShellView(&view), S_OK);
    ASSERT_EQ(view->QueryInterface(&folderView), S_OK);
    ASSERT_EQ(folderView->GetFolder(IID_IPersistFolder2, reinterpret_cast<void**>(&persist)), S_OK);
    ASSERT_EQ(persist->GetCurFolder(&place), S_OK);
    wchar_t shown[MAX_PATH];
    ASSERT_TRUE(SHGetPathFromIDListW(place, shown));
    EXPECT_TRUE(fs::equivalent(shown, folder));
    ASSERT_EQ(window->QueryInterface(&closer), S_OK);
    EXPECT_EQ(closer->Quit(), S_OK);
    EXPECT_EQ(count(), 2);
    const auto closed = folder.u8string() + u8"\n";
    EXPECT_EQ(ReadFileText(list.native() + L".quit"), std::string(closed.begin(), closed.end()));
    CoTaskMemFree(place);
    for (IUnknown* used : std::vector<IUnknown*>{closer, persist, folderView, view, browser,
                                                 provider, window, windows})
        used->Release();
    SetEnvironmentVariableW(L"STANDIN_SHELL_WINDOWS", nullptr);
}
