#include "services/Shortcut.h"

#include <shlobj.h>
#include <propsys.h>
#include <propkey.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "startup/PathBuffers.h"
#include "support/FailingCall.h"
#include "support/SetPath.h"

namespace {

using Microsoft::WRL::ComPtr;

// What the property store was called with instead of the real one.
std::wstring calls;

HRESULT STDMETHODCALLTYPE SetValue(void*, REFPROPERTYKEY key, REFPROPVARIANT value) {
    EXPECT_TRUE(key.fmtid == PKEY_AppUserModel_ID.fmtid && key.pid == PKEY_AppUserModel_ID.pid);
    EXPECT_EQ(value.vt, VT_LPWSTR);
    calls += std::wstring(L"set ") + value.pwszVal + L";";
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Commit(void*) {
    calls += L"commit;";
    return E_FAIL;
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
        SetPath(programsShortcutPath, scene / L"Name.lnk");
    }
    HRESULT Create(const wchar_t* text, const wchar_t* appId) {
        return CreateShortCut(L"C:\\a.exe", L"C:\\icon.exe", text, text, appId);
    }

    const Scene scene;
};

const std::wstring start = L"Utils CreateShortCut: ";
const std::wstring first = start + L"target [C:\\a.exe], link file [Name.lnk]|";

}  // namespace

// What the file holds is seen in the scenarios.
TEST_F(CreateShortCutTest, WritesWhatIsGiven) {
    const std::wstring last = start + L"Done: #0|";
    for (const wchar_t* nothing : {L"", static_cast<const wchar_t*>(nullptr)}) {
        EXPECT_EQ(Create(nothing, nothing), S_OK);
    }
    EXPECT_EQ(Create(L"C:\\app", L"Name"), S_OK);
    EXPECT_EQ(scene.Log(), first + last + first + last + first + start +
                               L"SetDescription [C:\\app] result: #0|" + start +
                               L"SetWorkingDirectory [C:\\app] result: #0|" + start +
                               L"SetAppId [Name] result: #0|" + last);
}

TEST_F(CreateShortCutTest, WritesTheFileWithoutAPropertyThatFails) {
    const Replaced exchanged =
        Replace("ole32.dll", "CoCreateInstance", CoCreateInstance,
                [](auto real, REFCLSID id, auto outer, auto context, REFIID iid, void** object) {
                    const HRESULT result = real(id, outer, context, iid, object);
                    return FAILED(result) ? result : ExchangeStore(static_cast<IUnknown*>(*object));
                });
    EXPECT_EQ(Create(nullptr, L"Name"), S_OK);
    EXPECT_EQ(calls, L"set Name;commit;");
    EXPECT_EQ(scene.Log(),
              first + start + L"SetAppId [Name] result: [0x80004005] ...|" + start + L"Done: #0|");
    EXPECT_TRUE(Exists(programsShortcutPath));
}

TEST_F(CreateShortCutTest, GivesTheResultOfTheObject) {
    const FailingCall noLink("ole32.dll", "CoCreateInstance", &CoCreateInstance, E_FAIL);
    EXPECT_EQ(Create(L"x", L"x"), E_FAIL);
    EXPECT_EQ(scene.Log(), first + start + L"Done: [0x80004005] ...|");
}

TEST(PinTool, RunsInTheVersionFolderAndIsWaitedFor) {
    const Scene scene;
    SetPath(programsShortcutPath, L"C:\\Na me.lnk");
    PinToTaskbar(L"C:\\app");
    UnpinFromTaskbar(L"C:\\app");
    const std::wstring head = L"hidden \"C:\\app\\syspin.exe\" \"C:\\Na me.lnk\" ";
    EXPECT_EQ(scene.started, (std::vector{head + L"c:5386", head + L"c:5387"}));
    EXPECT_EQ(scene.log.Count(L"ExecuteApp: wait for close...\n"), 2);
    // Of 260 characters the tool's name, the quotes, the command and the terminators take some.
    for (const auto& [folder, shortcut] : {std::pair(249, 250), {248, 251}}) {
        SetPath(programsShortcutPath, std::wstring(shortcut, L'a'));
        PinToTaskbar(std::wstring(folder, L'a').c_str());
    }
    EXPECT_EQ(scene.started.size(), 2u);
}

TEST(SetAumIdForProcess, RefusesAnEmptyOne) {
    const Scene scene;
    EXPECT_TRUE(SetAumIdForProcess(L"A"));
    EXPECT_FALSE(SetAumIdForProcess(L""));
    const std::wstring line = L"Utils SetAumIdForProcess: ";
    EXPECT_EQ(scene.Log(), line + L"appId [A]|" + line + L"Done|" + line + L"appId []|ERROR " +
                               line + L"error of SetCurrentProcessExplicitAppUserModelID: #87|");
}
