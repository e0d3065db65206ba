#include "services/Download.h"

#include <urlmon.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fs/Scene.h"
#include "services/SystemLibrary.h"
#include "support/FailingCall.h"

namespace {

constexpr HRESULT failed = INET_E_DOWNLOAD_FAILURE;

// Stands for the system's transfer: answers the attempts in turn, the last answer for ever.
struct Network {
    std::vector<HRESULT> answers;
    /// Addresses whose cached copy was dropped, and those asked for.
    std::vector<std::wstring> dropped, asked;
} network;

BOOL WINAPI Drop(LPCWSTR url) {
    network.dropped.push_back(url);
    return FALSE;
}

HRESULT WINAPI Transfer(LPUNKNOWN caller, LPCWSTR url, LPCWSTR, DWORD reserved,
                        LPBINDSTATUSCALLBACK callback) {
    EXPECT_TRUE(caller == nullptr && reserved == 0);
    EXPECT_EQ(callback, reinterpret_cast<LPBINDSTATUSCALLBACK>(&network));
    network.asked.push_back(url);
    EXPECT_EQ(network.dropped, network.asked);
    return network.answers[std::min(network.asked.size(), network.answers.size()) - 1];
}

class downloadFileTest : public testing::Test {
  protected:
    bool Fetch(const std::wstring& url, const std::vector<HRESULT>& answers) {
        network = {answers, {}, {}};
        scene.events.clear();
        return downloadFile(url.c_str(), (scene / target).c_str(),
                            reinterpret_cast<LPBINDSTATUSCALLBACK>(&network));
    }

    Scene scene;
    std::wstring target = L"file";
    const Replaced transfer =
        Replace("kernel32.dll", "GetProcAddress", GetProcAddress,
                [](auto real, HMODULE module, LPCSTR name) {
                    return name == std::string("DeleteUrlCacheEntryW") ? AsProc(&Drop)
                           : name == std::string("URLDownloadToFileW") ? AsProc(&Transfer)
                                                                       : real(module, name);
                });
};

}  // namespace

TEST_F(downloadFileTest, TriesBothSchemesInTurn) {
    const std::wstring done = L"|Utils urlDownloadToFile: Done|";
    const std::wstring error = L"|ERROR Utils downloadFile: error!";
    const std::pair<std::vector<HRESULT>, std::wstring> cases[] = {
        {{E_FAIL, E_FAIL, E_FAIL, S_FALSE}, done},
        {{E_OUTOFMEMORY, failed},
         error + L" The specified resource or callback interface was invalid.|"},
        {{failed, E_OUTOFMEMORY},
         error + L" The buffer length is invalid, or there is insufficient memory to complete the "
                 L"operation.|"},
        {{failed, E_ACCESSDENIED}, error + L"|"},
    };
    for (const auto& [answers, lastLine] : cases) {
        EXPECT_EQ(Fetch(L"x://host/a b?c", answers), lastLine == done);
        const std::size_t passes = lastLine == done ? 2 : 5;
        std::vector<std::wstring> expected;
        while (expected.size() < 2 * passes) {
            expected.insert(expected.end(), {L"https://host/a b?c", L"http://host/a b?c"});
        }
        EXPECT_EQ(network.asked, expected);
        EXPECT_EQ(scene.events, std::string(passes - 1, '-'));
        EXPECT_TRUE(scene.Log().ends_with(lastLine)) << scene.Log().c_str();
    }
    EXPECT_TRUE(scene.Log().find(L"|Utils urlDownloadToFile: http://host/a b?c to file|"
                                 L"WARN Utils urlDownloadToFile: error: [0x80004005] ...|"
                                 L"WARN Utils downloadFile: trying again|") != std::wstring::npos);
}

TEST_F(downloadFileTest, DropsTheSchemeThatTheAddressBrings) {
    const std::wstring longest(1015, L'a');
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"http://host/x", L"host/x"}, {L"host/x", L"host/x"},          {L"", L""},
        {L"ftp://a//x", L"a//x"},      {longest + L"cut off", longest},
    };
    for (const auto& [url, asked] : cases) {
        EXPECT_TRUE(Fetch(url, {S_OK}));
        EXPECT_EQ(network.asked, std::vector{L"https://" + asked});
    }
}

TEST_F(downloadFileTest, PreparesTheTarget) {
    MakeTree(scene.folder.path, L"file=of-an-earlier-run");
    Fetch(L"//host", {S_OK});
    target = L"new\\deep/file";
    Fetch(L"//host", {S_OK});
    EXPECT_EQ(ReadTree(scene.folder.path), L"new\\deep\\=");
}

TEST(SystemFunction, ComesFromTheSystemFolderOnly) {
    EXPECT_EQ(SystemFunction(L"kernel32.dll", "NoSuchFunction"), nullptr);
    constexpr wchar_t planted[] = L"planted-here.dll";
    ASSERT_TRUE(CopyFileW(L"C:\\windows\\system32\\version.dll", planted, FALSE));
    const HMODULE loaded = LoadLibraryW(planted);
    EXPECT_NE(loaded, nullptr) << "the plain search finds it";
    FreeLibrary(loaded);
    EXPECT_EQ(SystemFunction(planted, "GetFileVersionInfoW"), nullptr);
    DeleteFileW(planted);

    const FailingCall missing("kernel32.dll", "GetProcAddress", &GetProcAddress, nullptr);
    EXPECT_EQ(urlDownloadToFile(L"http://host", L"C:\\none", nullptr),
              HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND));
}
