#pragma once

#include <string>
#include <vector>

/// One picture of a window or a box as it looks in one language. All text is UTF-8.
struct Picture {
    std::string scene;  // the same in all languages; also the name of the file
    std::string title;  // for the reader, English
    std::string file;   // relative to the page
    int width;
    int height;
    std::vector<std::string> texts;     // those of the product that it shows
    std::vector<std::string> warnings;  // what cannot be read well
};

/// What one run of the preview made.
struct Record {
    std::string language;  // as texts.json names it
    std::vector<Picture> pictures;
};

/// As JSON, and back. Reading gives false for what is no such record.
std::string FormatRecord(const Record& record);
bool ParseRecord(const std::string& json, Record& record);
