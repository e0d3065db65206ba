#include "services/Download.h"

#include <urlmon.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "diagnostics/Log.h"
#include "fs/Scene.h"
#include "services/SystemLibrary.h"

namespace {

constexpr HRESULT failed = INET_E_DOWNLOAD_FAILURE;

// Stands for the system's transfer: answers the attempts in turn, the last answer for ever.
struct Network {
    std::vector<HRESULT> answers;
    std::function<void()> onAttempt;
    /// Addresses whose cached copy was dropped, and those asked for.
    std::vector<std::wstring> dropped, asked;
    LPBINDSTATUSCALLBACK callback;
} network;

BOOL WINAPI Drop(LPCWSTR url) {
    network.dropped.push_back(url);
    return FALSE;
}

HRESULT WINAPI Transfer(LPUNKNOWN caller, LPCWSTR url, LPCWSTR, DWORD reserved,
                        LPBINDSTATUSCALLBACK callback) {
    EXPECT_TRUE(caller == nullptr && reserved == 0);
    network.callback = callback;
    if (network.onAttempt) {
        network.onAttempt();
    }
    network.asked.push_back(url);
    EXPECT_EQ(network.dropped, network.asked);
    return network.answers[std::min(network.asked.size(), network.answers.size()) - 1];
}

class downloadFileTest : public testing::Test {
  protected:
    bool Fetch(const std::wstring& url, const std::vector<HRESULT>& answers,
               std::function<void()> onAttempt = {}) {
        network = {answers, onAttempt, {}, {}, nullptr};
        scene.pauses.clear();
        return downloadFile(url.c_str(), target.c_str(),
                            reinterpret_cast<LPBINDSTATUSCALLBACK>(&network));
    }

    Scene scene;
    std::wstring target = scene / L"file";
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
    const std::wstring done = L"INFO Utils urlDownloadToFile: Done\n";
    const std::wstring error = L"ERROR Utils downloadFile: error!";
    const struct {
        std::vector<HRESULT> answers;
        std::size_t attempts, pauses;
        std::wstring lastLine;
    } cases[] = {
        {{S_OK}, 1, 0, done},
        {{E_FAIL, S_FALSE}, 2, 0, done},
        {{E_FAIL, E_FAIL, E_FAIL, E_FAIL, E_FAIL, E_FAIL, E_FAIL, E_FAIL, S_OK}, 9, 4, done},
        {{E_OUTOFMEMORY, failed},
         10,
         4,
         error + L" The specified resource or callback interface was invalid.\n"},
        {{failed, E_OUTOFMEMORY},
         10,
         4,
         error + L" The buffer length is invalid, or there is insufficient memory to complete the "
                 L"operation.\n"},
        {{failed, E_ACCESSDENIED}, 10, 4, error + L"\n"},
    };
    for (const auto& [answers, attempts, pauses, lastLine] : cases) {
        const LogCapture log;
        EXPECT_EQ(Fetch(L"x://host/a b?c", answers), lastLine == done);
        ASSERT_EQ(network.asked.size(), attempts);
        for (std::size_t index = 0; index < attempts; ++index) {
            EXPECT_EQ(network.asked[index],
                      index % 2 == 0 ? L"https://host/a b?c" : L"http://host/a b?c");
        }
        EXPECT_EQ(scene.pauses, std::vector<DWORD>(pauses, 1000));
        EXPECT_EQ(static_cast<std::size_t>(
                      log.Count(L"WARN Utils downloadFile: trying again\nINFO Utils urlDownload")),
                  pauses);
        EXPECT_TRUE(log.Lines().ends_with(lastLine)) << log.Lines();
    }
    EXPECT_TRUE(scene.log.Has(L"INFO Utils urlDownloadToFile: http://host/a b?c to " + target +
                              L"\nWARN Utils urlDownloadToFile: error: " + HResultText(failed)));
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

TEST_F(downloadFileTest, PreparesTheTargetOnce) {
    WriteFileText(target, "of an earlier run");
    for (const std::wstring& path : {target, scene / L"new\\deep/file"}) {
        target = path;
        EXPECT_TRUE(Fetch(L"//host", {E_FAIL, E_FAIL, E_FAIL, S_OK}, [&] {
            EXPECT_EQ(ReadFileText(target), network.asked.empty() ? "<missing>" : "part");
            EXPECT_TRUE(Exists(target.substr(0, target.find_last_of(L"\\/"))));
            WriteFileText(target, "part");
        }));
        EXPECT_EQ(network.callback, reinterpret_cast<LPBINDSTATUSCALLBACK>(&network));
    }
}

TEST(SystemFunction, ComesFromTheSystemFolderOnly) {
    EXPECT_EQ(SystemFunction(L"kernel32.dll", "Sleep"),
              GetProcAddress(GetModuleHandleW(L"kernel32"), "Sleep"));
    EXPECT_EQ(SystemFunction(L"kernel32.dll", "NoSuchFunction"), nullptr);
    EXPECT_EQ(SystemFunction(L"no-such-library.dll", "Sleep"), nullptr);

    constexpr wchar_t planted[] = L"planted-here.dll";
    ASSERT_TRUE(CopyFileW(L"C:\\windows\\system32\\version.dll", planted, FALSE));
    const HMODULE loaded = LoadLibraryW(planted);
    EXPECT_NE(loaded, nullptr) << "the plain search finds it";
    FreeLibrary(loaded);
    EXPECT_EQ(SystemFunction(planted, "GetFileVersionInfoW"), nullptr);
    DeleteFileW(planted);

    const Replaced missing = Replace("kernel32.dll", "GetProcAddress", GetProcAddress,
                                     [](auto, auto...) { return nullptr; });
    EXPECT_EQ(urlDownloadToFile(L"http://host", L"C:\\none", nullptr),
              HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND));
}
