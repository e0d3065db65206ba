#include <stdlib.h>

#include <gtest/gtest.h>

#include "fs/RetryingOperations.h"
#include "fs/Scene.h"

TEST(Question, RetryStartsAFullPass) {
    struct {
        std::vector<int> answers;
        int freedBy;
        std::size_t pauses;
    } const cases[] = {
        {{IDRETRY}, 1, 5},
        {{IDCANCEL}, Scene::never, 5},
        // The box could not be shown.
        {{0}, Scene::never, 5},
        {{IDRETRY, IDRETRY, IDCANCEL}, Scene::never, 15},
    };
    for (const auto& test : cases) {
        Scene scene({}, test.answers);
        WriteFileText(scene / L"held", "x");
        scene.Hold(L"held", Scene::never, test.freedBy);
        const bool isGone = test.freedBy != Scene::never;
        EXPECT_EQ(SHRemoveObject(scene / L"held", true), isGone ? 0 : -1);
        EXPECT_EQ(Exists(scene / L"held"), !isGone);
        EXPECT_EQ(scene.pauses.size(), test.pauses);
        EXPECT_EQ(scene.log.Count(L"INFO FSUtils ShowErrorDialog\n"),
                  static_cast<int>(test.answers.size()));
    }
}

TEST(Question, AfterRetryAMoveIsAMoveAgain) {
    Scene scene({32, 5, 5, 5, 5, 5, 5}, {IDRETRY});
    WriteFileText(scene / L"from", "x");
    EXPECT_EQ(SHMoveObject(scene / L"from", scene / L"a\\to", true), 0);
    EXPECT_EQ(scene.shell, "mcccccmm");
    EXPECT_EQ(scene.log.Count(L"WARN FSUtils MoveObject: error, trying again: "), 10);
    EXPECT_FALSE(scene.log.Has(L"ERROR"));
}

TEST(Question, StartsOneReportInTheLifeOfTheProcess) {
    for (int round = 0; round < 2; ++round) {
        Scene scene({}, {IDCANCEL});
        WriteFileText(scene / L"held", "x");
        scene.Hold(L"held", Scene::never);
        EXPECT_EQ(SHRemoveObject(scene / L"held", true), -1);
    }
    EXPECT_EQ(Scene::startedEver, 1);
}

TEST(RequestErrorReport, HandsTheArgumentsOn) {
    const std::pair<std::vector<const wchar_t*>, std::wstring> cases[] = {
        {{L"setup.exe"}, L""},
        {{L"setup.exe", L"--update", L"x"}, L" \"--update\" \"x\""},
        {{L"setup.exe", L"a b", L"q\"q", L""}, L" \"a b\" \"q\"q\" \"\""},
    };
    wchar_t ownPath[MAX_PATH];
    GetModuleFileNameW(nullptr, ownPath, MAX_PATH);
    const int startedBefore = Scene::startedEver;
    const auto ownArguments = std::make_pair(__argc, __wargv);
    Scene scene;
    for (const auto& [arguments, quoted] : cases) {
        __argc = static_cast<int>(arguments.size());
        __wargv = const_cast<wchar_t**>(arguments.data());
        RequestErrorReport();
        EXPECT_EQ(scene.started.back(),
                  L"\"" + std::wstring(ownPath) + L"\" --generate-report" + quoted);
    }
    std::tie(__argc, __wargv) = ownArguments;
    const auto noPath = Replace("kernel32.dll", "GetModuleFileNameW", GetModuleFileNameW,
                                [](auto, auto...) { return DWORD{0}; });
    RequestErrorReport();
    EXPECT_EQ(scene.started.size(), 3u);
    Scene::startedEver = startedBefore;
}
