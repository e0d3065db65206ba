#include "scenarios/ScenarioRow.h"

// The language of the user is that of the window and its question.
namespace {

constexpr std::pair<DWORD, const char*> languages[] = {
    {0x0419, "ru"}, {0x0409, "en"}, {0x041F, "tr"}, {0x0416, "pt"}, {0x0816, "pt"},
    {0x0412, "ko"}, {0x0411, "ja"}, {0x0439, "hi"}, {0x040C, "fr"}, {0x0C0A, "es"},
    {0x0C07, "de"}, {0x0401, "ar"}, {0x0804, "zh"}, {0x0404, "zh"}, {0x0415, "en"}};

void LookAndClose(Stage& stage) {
    const char* language = stage.row.language.c_str();
    const HWND window = WaitForStatus(stage.run->process, "TextDownloading", language);
    EXPECT_EQ(LabelTexts(window).at(1), ProductText("TextProductName", language));
    EXPECT_EQ(WindowText(window), ProductText("TextTitle", language));
    PostMessageW(window, WM_CLOSE, 0, 0);
}

std::vector<ScenarioRow> Rows() {
    std::vector<ScenarioRow> rows;
    for (const auto& [id, language] : languages) {
        rows.push_back({.name = std::to_string(id) + language,
                        .faults = {{"/app.zip", "slow"}},
                        .language = language,
                        .interceptions = {SkipCall({"GetUserDefaultUILanguage", L""}, id)},
                        .steps = {{.act = LookAndClose}, Answer("TextConfirmCancel", IDYES)},
                        .requests = Requests({{gotManifest, 1}, {"/app.zip client-left", 1}})});
    }
    return rows;
}

const int rows = AddScenarios("Language", Rows());

}  // namespace
