#include <windows.h>
#include <objbase.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/GlobalVars.h"
#include "kit/Files.h"
#include "kit/TextTable.h"
#include "preview/Page.h"
#include "preview/Record.h"
#include "preview/Scenes.h"
#include "preview/TakePictures.h"
#include "ui/Texts.h"

namespace {

constexpr int exitDone = 0, exitFailed = 1, exitUsage = 2;
constexpr std::uint32_t largestRecord = 1 << 20;

constexpr const char* help =
    "preview LANGUAGE   takes the pictures of one language into the folder LANGUAGE\n"
    "preview --page     makes index.html of all folders that are there, prints their warnings\n"
    "\n"
    "Works in the current directory. LANGUAGE is the one that the system gives the program, named\n"
    "as texts.json does. The program itself has to be stamped with a product.\n";

int Fail(const std::string& text) {
    std::fprintf(stderr, "preview: %s\n", text.c_str());
    return exitFailed;
}

int TakeLanguage(const std::string& language) {
    const std::string actual = textLanguages[static_cast<size_t>(GetLanguageIndex())];
    if (actual != language) {
        return Fail("the system's language is " + actual + ", not " + language);
    }
    if (!PrepareStage()) {
        return Fail("this build does not bind the calls that have to be held back");
    }
    CreateDirectoryW(Widen(language).c_str(), nullptr);
    CoInitialize(nullptr);
    Record record{language, {}};
    const std::string failure = TakePictures(Widen(language), record.pictures);
    CoUninitialize();
    if (!failure.empty()) {
        return Fail(language + ": " + failure);
    }
    return WriteWholeFile(Widen(language) + L"\\pictures.json", FormatRecord(record)) == 0
               ? exitDone
               : Fail(language + "/pictures.json cannot be written");
}

int MakePage() {
    std::vector<Record> records;
    for (const char* language : textLanguages) {
        std::string json;
        Record record;
        if (ReadWholeFile(Widen(language) + L"\\pictures.json", largestRecord, json) == 0 &&
            ParseRecord(json, record) && !record.pictures.empty()) {
            records.push_back(std::move(record));
        }
    }
    if (records.empty()) {
        return Fail("there are no pictures here");
    }
    globalVars.Init();
    if (WriteWholeFile(L"index.html", ComposePage(Narrow(globalVars.appDisplayName), records)) !=
        0) {
        return Fail("index.html cannot be written");
    }
    for (const std::string& warning : SummariseWarnings(records)) {
        std::printf("warning: %s\n", warning.c_str());
    }
    return exitDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2 || std::wstring(arguments[1]) == L"--help") {
        std::fputs(help, count == 2 ? stdout : stderr);
        return count == 2 ? exitDone : exitUsage;
    }
    const std::string argument = Narrow(arguments[1]);
    return argument == "--page" ? MakePage() : TakeLanguage(argument);
}
