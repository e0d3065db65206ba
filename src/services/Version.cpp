#include "services/Version.h"

#include <windows.h>
#include <stdlib.h>

namespace {

// Takes tokens off a text as a stream would: once a token was too long or the text has ended, all
// later ones are empty.
class TokenReader {
  public:
    explicit TokenReader(const char* text) : next(text) {}

    std::string Read() {
        constexpr std::size_t longest = 3;
        std::string token;
        while (next != nullptr && *next != '\0' && *next != '.') {
            if (token.size() == longest) {
                next = nullptr;
                return token;
            }
            token += *next++;
        }
        if (next != nullptr) {
            next = *next == '.' ? next + 1 : nullptr;
        }
        return token;
    }

  private:
    const char* next;
};

int ToNumber(const std::string& token) {
    char* end = nullptr;
    const long number = strtol(token.c_str(), &end, 10);
    return end == token.c_str() ? -1 : static_cast<int>(number);
}

int CompareNumbers(int a, int b) {
    return a == b ? 0 : a > b ? 1 : -1;
}

}  // namespace

void Version::Parse(const char* narrowText) {
    *this = Version();
    if (narrowText == nullptr) {
        return;
    }
    TokenReader tokens(narrowText);
    major = ToNumber(tokens.Read());
    minor = ToNumber(tokens.Read());
    patch = ToNumber(tokens.Read());
    text = std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
    wchar_t wide[128] = L"";
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide, 128);
    wideText = wide;
}

void Version::Parse(const std::wstring& wide) {
    // One byte stays zero, also when the text does not fit.
    char narrow[128] = "";
    WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), static_cast<int>(wide.size()), narrow, 127,
                        nullptr, nullptr);
    Parse(narrow);
}

int Version::Compare(const Version& other) const {
    if (const int order = CompareNumbers(major, other.major); order != 0) {
        return order;
    }
    if (const int order = CompareNumbers(minor, other.minor); order != 0) {
        return order;
    }
    return CompareNumbers(patch, other.patch);
}
