#include "kit/Characters.h"

#include <algorithm>
#include <iterator>

namespace {

struct Range {
    wchar_t first, last;
};

constexpr Range unseen[] = {{0, 0x1F},        {0x7F, 0x9F},     {0xAD, 0xAD},     {0x61C, 0x61C},
                            {0x180E, 0x180E}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},
                            {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}};
// With two letters that are shown as nothing, the braille blank and the hangul filler.
constexpr Range blanks[] = {{9, 13},          {32, 32},         {0x85, 0x85},     {0xA0, 0xA0},
                            {0x1680, 0x1680}, {0x2000, 0x200A}, {0x2028, 0x2029}, {0x202F, 0x202F},
                            {0x205F, 0x205F}, {0x2800, 0x2800}, {0x3000, 0x3000}, {0x3164, 0x3164}};

template <std::size_t count>
bool LiesIn(const Range (&ranges)[count], wchar_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

}  // namespace

bool IsUnseen(wchar_t character) {
    return LiesIn(unseen, character);
}

bool IsBlank(wchar_t character) {
    return LiesIn(blanks, character);
}
