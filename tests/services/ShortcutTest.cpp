#include "services/Shortcut.h"

#include <shlobj.h>
#include <propsys.h>
#include <propkey.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "fs/Scene.h"
#include "services/HiddenStarts.h"
#include "startup/PathBuffers.h"
#include "support/SetPath.h"

namespace {

using Microsoft::WRL::ComPtr;

// "target|arguments|icon,index|description|working directory" of a shortcut file.
std::wstring ReadShortcut(const std::wstring& path) {
    wchar_t text[5][MAX_PATH] = {};
    int index = -1;
    CoInitialize(nullptr);
    {
        ComPtr<IShellLinkW> link;
        ComPtr<IPersistFile> file;
        EXPECT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                   reinterpret_cast<void**>(link.GetAddressOf())),
                  S_OK);
        link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(file.GetAddressOf()));
        EXPECT_EQ(file->Load(path.c_str(), STGM_READ), S_OK);
        link->GetPath(text[0], MAX_PATH, nullptr, 0);
        link->GetArguments(text[1], MAX_PATH);
        link->GetIconLocation(text[2], MAX_PATH, &index);
        link->GetDescription(text[3], MAX_PATH);
        link->GetWorkingDirectory(text[4], MAX_PATH);
    }
    CoUninitialize();
    return std::wstring(text[0]) + L"|" + text[1] + L"|" + text[2] + L"," + std::to_wstring(index) +
           L"|" + text[3] + L"|" + text[4];
}

std::wstring PropertyLine(const std::wstring& property, const std::wstring& value, HRESULT result) {
    return L"INFO Utils CreateShortCut: " + property + L" [" + value + L"] result: " +
           HResultText(result) + L"\n";
}

// What the property store answers instead of the real one, and was called with.
HRESULT setResult, commitResult;
std::wstring calls;

HRESULT STDMETHODCALLTYPE SetValue(void*, REFPROPERTYKEY key, REFPROPVARIANT value) {
    EXPECT_TRUE(key.fmtid == PKEY_AppUserModel_ID.fmtid && key.pid == PKEY_AppUserModel_ID.pid);
    EXPECT_EQ(value.vt, VT_LPWSTR);
    calls += std::wstring(L"set ") + value.pwszVal + L";";
    return setResult;
}

HRESULT STDMETHODCALLTYPE Commit(void*) {
    calls += L"commit;";
    return commitResult;
}

// This Windows keeps no such property, so the store's table of functions (three of IUnknown, then
// GetCount, GetAt, GetValue, SetValue, Commit) is exchanged in each new link object.
HRESULT ExchangeStore(IUnknown* link) {
    static void* table[8];
    ComPtr<IPropertyStore> store;
    link->QueryInterface(IID_IPropertyStore, reinterpret_cast<void**>(store.GetAddressOf()));
    void**& slots = *reinterpret_cast<void***>(store.Get());
    std::copy_n(slots, 6, table);
    table[6] = reinterpret_cast<void*>(&SetValue);
    table[7] = reinterpret_cast<void*>(&Commit);
    slots = table;
    return S_OK;
}

class CreateShortCutTest : public testing::Test {
  protected:
    CreateShortCutTest() {
        SetPath(programsShortcutPath, file);
        WriteFileText(target, "");
    }
    HRESULT Create(const wchar_t* text, const wchar_t* appId) {
        return CreateShortCut(target.c_str(), icon.c_str(), text, text, appId);
    }

    const Scene scene;
    const std::wstring file = scene / L"Name.lnk", target = scene / L"Starter.exe",
                       icon = scene / L"uninstall.exe";
};

}  // namespace

TEST_F(CreateShortCutTest, WritesWhatIsGiven) {
    const std::wstring first =
        L"INFO Utils CreateShortCut: target [" + target + L"], link file [" + file + L"]\n";
    const std::wstring last = L"INFO Utils CreateShortCut: Done: " + ErrorText(0) + L"\n";
    EXPECT_EQ(CreateShortCut(target.c_str(), icon.c_str(), L"Namelink", L"C:\\app", L"Name"), S_OK);
    EXPECT_EQ(ReadShortcut(file), target + L"||" + icon + L",0|Namelink|C:\\app");
    EXPECT_EQ(scene.log.Lines(), first + PropertyLine(L"SetDescription", L"Namelink", S_OK) +
                                     PropertyLine(L"SetWorkingDirectory", L"C:\\app", S_OK) +
                                     PropertyLine(L"SetAppId", L"Name", S_OK) + last);
    for (const wchar_t* nothing : {L"", static_cast<const wchar_t*>(nullptr)}) {
        const LogCapture log;
        EXPECT_EQ(Create(nothing, nothing), S_OK);
        EXPECT_EQ(ReadShortcut(file), target + L"||" + icon + L",0||");
        EXPECT_EQ(log.Lines(), first + last);
    }
}

TEST_F(CreateShortCutTest, WritesTheFileWithoutAPropertyThatFails) {
    const Replaced exchanged =
        Replace("ole32.dll", "CoCreateInstance", CoCreateInstance,
                [](auto real, REFCLSID id, auto outer, auto context, REFIID iid, void** object) {
                    const HRESULT result = real(id, outer, context, iid, object);
                    return FAILED(result) ? result : ExchangeStore(static_cast<IUnknown*>(*object));
                });
    const auto expectCalls = [this](HRESULT result, const wchar_t* expected) {
        DeleteFileW(file.c_str());
        calls.clear();
        const LogCapture log;
        EXPECT_EQ(Create(nullptr, L"Name"), S_OK);
        EXPECT_TRUE(log.Has(PropertyLine(L"SetAppId", L"Name", result))) << log.Lines();
        EXPECT_EQ(calls, expected);
        EXPECT_TRUE(Exists(file));
    };
    setResult = commitResult = S_OK;
    expectCalls(S_OK, L"set Name;commit;");
    commitResult = E_FAIL;
    expectCalls(E_FAIL, L"set Name;commit;");
    setResult = E_ACCESSDENIED;
    expectCalls(E_ACCESSDENIED, L"set Name;");
    const Replaced noCopy =
        Replace("shlwapi.dll", "SHStrDupW", SHStrDupW, [](auto, auto...) { return E_OUTOFMEMORY; });
    expectCalls(E_OUTOFMEMORY, L"");
}

TEST_F(CreateShortCutTest, GivesTheResultOfTheObjectOrTheFile) {
    const LogCapture log;
    SetPath(programsShortcutPath, scene / L"missing\\folder\\x.lnk");
    EXPECT_TRUE(FAILED(Create(L"x", L"x")));
    const Replaced noLink = Replace("ole32.dll", "CoCreateInstance", CoCreateInstance,
                                    [](auto, auto&&...) { return REGDB_E_CLASSNOTREG; });
    EXPECT_EQ(Create(L"x", L"x"), REGDB_E_CLASSNOTREG);
    EXPECT_TRUE(log.Lines().ends_with(L"CreateShortCut: Done: " + HResultText(REGDB_E_CLASSNOTREG) +
                                      L"\n"));
}

TEST(PinTool, RunsInTheVersionFolderAndIsWaitedFor) {
    const Scene scene;
    const Replaced hidden = ExpectHiddenStarts();
    SetPath(programsShortcutPath, L"C:\\menu\\Na me.lnk");
    PinToTaskbar(L"C:\\app\\1.2.3");
    UnpinFromTaskbar(L"C:\\app\\1.2.3");
    const std::wstring head = L"\"C:\\app\\1.2.3\\syspin.exe\" \"C:\\menu\\Na me.lnk\" ";
    EXPECT_EQ(scene.started, (std::vector{head + L"c:5386", head + L"c:5387"}));
    EXPECT_EQ(scene.log.Count(L"ExecuteApp: wait for close...\n"), 2);
    // Of 260 characters the tool's name, the quotes, the command and the terminators take some.
    for (const auto& [folder, shortcut, starts] :
         {std::tuple(248, 250, 3u), {249, 250, 3u}, {248, 251, 3u}}) {
        SetPath(programsShortcutPath, std::wstring(shortcut, L'a'));
        PinToTaskbar(std::wstring(folder, L'a').c_str());
        EXPECT_EQ(scene.started.size(), starts) << folder << " " << shortcut;
    }
}

TEST(SetAumIdForProcess, RefusesAnEmptyOne) {
    std::wstring noted;
    HRESULT answer = S_OK;
    const auto note = [&](auto, PCWSTR appId) {
        noted += appId + std::wstring(L";");
        return answer;
    };
    const Replaced set = Replace("shell32.dll", "SetCurrentProcessExplicitAppUserModelID",
                                 SetCurrentProcessExplicitAppUserModelID, note);
    const LogCapture log;
    EXPECT_TRUE(SetAumIdForProcess(L"A"));
    answer = E_ACCESSDENIED;
    EXPECT_FALSE(SetAumIdForProcess(L""));
    EXPECT_FALSE(SetAumIdForProcess(L"B"));
    EXPECT_EQ(noted, L"A;B;");
    const std::wstring line = L"INFO Utils SetAumIdForProcess: ";
    const std::wstring error =
        L"ERROR Utils SetAumIdForProcess: error of SetCurrentProcessExplicitAppUserModelID: ";
    EXPECT_EQ(log.Lines(), line + L"appId [A]\n" + line + L"Done\n" + line + L"appId []\n" + error +
                               HResultText(E_INVALIDARG) + L"\n" + line + L"appId [B]\n" + error +
                               HResultText(E_ACCESSDENIED) + L"\n");
}
