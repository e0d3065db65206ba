// Through the registered classes, the way an installer comes to them.
#include <windows.h>
#include <oleauto.h>
#include <shldisp.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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

Folder* OpenFolder(IShellDispatch* shell, const fs::path& path) {
    VARIANT name{};
    name.vt = VT_BSTR;
    name.bstrVal = SysAllocString(path.c_str());
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
        VARIANT item{}, flags{};
        item.vt = VT_DISPATCH;
        item.pdispVal = items;
        flags.vt = VT_I4;
        flags.lVal = 0x614;
        result = to->CopyHere(item, flags);
        items->Release();
    }
    for (IUnknown* used :
         {static_cast<IUnknown*>(from), static_cast<IUnknown*>(to), static_cast<IUnknown*>(shell)})
        if (used)
            used->Release();
    return result;
}

// Wine makes no symbolic links for programs of Windows, but starts programs of the machine. Those
// have no handle to wait for, so it waits until the link is there.
bool MakeLink(const std::wstring& text, const fs::path& link) {
    std::wstring line = L"x -s " + text + L' ' + link.filename().native();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(L"Z:\\usr\\bin\\ln", line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        link.parent_path().c_str(), &startup, &process))
        return false;
    for (int left = 500; left > 0 && !fs::exists(link); --left)
        Sleep(10);
    return fs::exists(link);
}

}  // namespace

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
    EXPECT_EQ(ReadFileText(outside / "file"), "untouched");
}
