// Stands in for: the name rules of the Shell's zip folder.
#include "EntryNames.h"

#include <cstddef>
#include <cstdint>

namespace {

// Upper half of IBM code page 437, from the table published by the Unicode consortium.
constexpr char16_t codePage437[] =
    u"\u00C7\u00FC\u00E9\u00E2\u00E4\u00E0\u00E5\u00E7\u00EA\u00EB\u00E8\u00EF\u00EE\u00EC\u00C4"
    u"\u00C5"
    u"\u00C9\u00E6\u00C6\u00F4\u00F6\u00F2\u00FB\u00F9\u00FF\u00D6\u00DC\u00A2\u00A3\u00A5\u20A7"
    u"\u0192"
    u"\u00E1\u00ED\u00F3\u00FA\u00F1\u00D1\u00AA\u00BA\u00BF\u2310\u00AC\u00BD\u00BC\u00A1\u00AB"
    u"\u00BB"
    u"\u2591\u2592\u2593\u2502\u2524\u2561\u2562\u2556\u2555\u2563\u2551\u2557\u255D\u255C\u255B"
    u"\u2510"
    u"\u2514\u2534\u252C\u251C\u2500\u253C\u255E\u255F\u255A\u2554\u2569\u2566\u2560\u2550\u256C"
    u"\u2567"
    u"\u2568\u2564\u2565\u2559\u2558\u2552\u2553\u256B\u256A\u2518\u250C\u2588\u2584\u258C\u2590"
    u"\u2580"
    u"\u03B1\u00DF\u0393\u03C0\u03A3\u03C3\u00B5\u03C4\u03A6\u0398\u03A9\u03B4\u221E\u03C6\u03B5"
    u"\u2229"
    u"\u2261\u00B1\u2265\u2264\u2320\u2321\u00F7\u2248\u00B0\u2219\u00B7\u221A\u207F\u00B2\u25A0"
    u"\u00A0";
static_assert(sizeof codePage437 == 129 * sizeof(char16_t));

constexpr std::size_t longestComponent = 255;

char16_t FoldCharacter(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

void AppendCodePoint(std::uint32_t code, std::u16string& text) {
    if (code < 0x10000) {
        text += static_cast<char16_t>(code);
        return;
    }
    code -= 0x10000;
    text += static_cast<char16_t>(0xD800 + (code >> 10));
    text += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
}

bool DecodeUtf8(std::string_view bytes, std::u16string& text) {
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<std::uint8_t>(bytes[i++]);
        const int more = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4) {
            return false;
        }
        std::uint32_t code = more == 0 ? lead : lead & (0x3Fu >> more);
        for (int k = 0; k < more; ++k) {
            if (i == bytes.size() || (static_cast<std::uint8_t>(bytes[i]) & 0xC0) != 0x80) {
                return false;
            }
            code = code << 6 | (static_cast<std::uint8_t>(bytes[i++]) & 0x3F);
        }
        // A longer form than needed would smuggle separators past the checks behind this.
        const bool overlong = (more == 2 && code < 0x800) || (more == 3 && code < 0x10000);
        if (overlong || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            return false;
        }
        AppendCodePoint(code, text);
    }
    return true;
}

// Windows looks at the part before the first dot and ignores blanks behind it. Names of reserved
// devices as in Microsoft's "Naming Files, Paths, and Namespaces".
bool IsReservedDevice(std::u16string_view component) {
    std::u16string stem = FoldCase(component.substr(0, component.find(u'.')));
    while (!stem.empty() && stem.back() == u' ') {
        stem.pop_back();
    }
    for (const std::u16string_view device :
         {u"con", u"prn", u"aux", u"nul", u"conin$", u"conout$"}) {
        if (stem == device) {
            return true;
        }
    }
    if (stem.size() != 4 || (!stem.starts_with(u"com") && !stem.starts_with(u"lpt"))) {
        return false;
    }
    return std::u16string_view(u"0123456789\u00B9\u00B2\u00B3").find(stem[3]) !=
           std::u16string_view::npos;
}

bool IsSafeComponent(std::u16string_view component) {
    if (component.empty() || component.size() > longestComponent) {
        return false;
    }
    if (component.back() == u'.' || component.back() == u' ') {
        return false;
    }
    for (const char16_t c : component) {
        if (c < 0x20 || std::u16string_view(u"<>:\"|?*").find(c) != std::u16string_view::npos) {
            return false;
        }
    }
    return !IsReservedDevice(component);
}

}  // namespace

bool DecodeEntryName(std::string_view bytes, bool isUtf8, std::u16string& name) {
    name.clear();
    if (isUtf8) {
        return DecodeUtf8(bytes, name);
    }
    for (const char byte : bytes) {
        const auto value = static_cast<std::uint8_t>(byte);
        name += value < 0x80 ? static_cast<char16_t>(value) : codePage437[value - 0x80];
    }
    return true;
}

bool MakeRelativePath(std::u16string_view name, std::u16string& path, bool& isFolder) {
    path.assign(name);
    for (char16_t& c : path) {
        if (c == u'/') {
            c = u'\\';
        }
    }
    isFolder = !path.empty() && path.back() == u'\\';
    if (isFolder) {
        path.pop_back();
    }
    for (std::size_t start = 0;;) {
        const std::size_t end = path.find(u'\\', start);
        if (!IsSafeComponent(std::u16string_view(path).substr(start, end - start))) {
            return false;
        }
        if (end == std::u16string::npos) {
            return true;
        }
        start = end + 1;
    }
}

std::u16string FoldCase(std::u16string_view path) {
    std::u16string folded(path);
    for (char16_t& c : folded) {
        c = FoldCharacter(c);
    }
    return folded;
}
