#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

using Language = Scenario;

namespace {

constexpr std::pair<const char*, const char*> languages[] = {
    {"ru_RU", "ru"}, {"en_US", "en"}, {"tr_TR", "tr"}, {"pt_BR", "pt"}, {"pt_PT", "pt"},
    {"ko_KR", "ko"}, {"ja_JP", "ja"}, {"hi_IN", "hi"}, {"fr_FR", "fr"}, {"es_ES", "es"},
    {"de_AT", "de"}, {"ar_SA", "ar"}, {"zh_CN", "zh"}, {"zh_TW", "zh"}, {"pl_PL", "en"}};

// The environment of the machine below chooses the language, so the start goes through it.
void StartIn(const std::string& locale) {
    std::wstring line = L"Z:\\usr\\bin\\env -C /tmp LC_ALL=" + Widen(locale) + L".UTF-8 wine " +
                        GetPrepared().setup;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(CreateProcessW(L"Z:\\usr\\bin\\env", line.data(), nullptr, nullptr, FALSE, 0,
                               nullptr, nullptr, &startup, &process))
        << GetLastError();
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

}  // namespace

TEST_F(Language, OfTheUserIsThatOfTheWindowAndItsQuestion) {
    PublishVersion("1.2.3");
    AddFault("/app.zip", "slow", -1);
    for (const auto& [locale, language] : languages) {
        SCOPED_TRACE(locale);
        StartIn(locale);
        OtherProgram run(L"setup.exe");
        const auto text = [&](const char* name) { return Narrow(ProductText(name, language)); };
        const HWND window = WaitForStatus(run.process, "TextDownloading", language);
        EXPECT_EQ(Narrow(LabelTexts(window).at(1)), text("TextProductName"));
        EXPECT_EQ(Narrow(WindowText(window)), text("TextTitle"));
        PostMessageW(window, WM_CLOSE, 0, 0);
        AnswerBox(run.process, "TextConfirmCancel", IDYES, language);
        run.Finish();
    }
}
