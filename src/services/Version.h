#pragma once

#include <string>

/// A version of the application: three numbers. A component that could not be read is -1 and stays
/// visible in the text, so parsing never fails; a component never exceeds 999.
struct Version {
    /// Canonical form, "1.2.3".
    std::string text;
    std::wstring wideText;
    int major = 0;
    int minor = 0;
    int patch = 0;

    /// Reads up to three tokens separated by full stops, of at most three characters each; a longer
    /// token is cut and leaves the tokens behind it unread. Null leaves everything empty and 0.
    void Parse(const char* narrowText);
    void Parse(const std::wstring& text);

    /// 1, 0 or -1: this one is newer than, equal to or older than `other`.
    int Compare(const Version& other) const;
};
