#include <windows.h>

#include "scenarios/OtherProgram.h"
#include "scenarios/Scenario.h"

namespace {

class Language : public Scenario {};

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
        const HWND window = WaitForWindow(run.process, windowClassName);
        const auto text = [&](const char* name) { return Narrow(ProductText(name, language)); };
        const auto label = [&](std::size_t index) {
            const std::vector<std::wstring> labels = LabelTexts(window);
            return labels.size() == 3 ? Narrow(labels[index]) : "";
        };
        EXPECT_TRUE(WaitUntil([&] { return label(2) == text("TextDownloading"); })) << label(2);
        EXPECT_EQ(label(1), text("TextProductName"));
        EXPECT_EQ(Narrow(WindowText(window)), text("TextTitle"));
        PostMessageW(window, WM_CLOSE, 0, 0);
        const Box question = WaitForBox(run.process);
        EXPECT_EQ(Narrow(question.caption), text("TextTitle"));
        ASSERT_FALSE(question.texts.empty());
        EXPECT_EQ(Narrow(question.texts.back()), text("TextConfirmCancel"));
        EXPECT_TRUE(PressButton(question, IDYES));
        EXPECT_EQ(run.WaitForEnd(), 0);
    }
}
