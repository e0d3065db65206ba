#include "base/DecimalText.h"

#include <stdlib.h>

std::wstring DecimalText(unsigned long long number) {
    wchar_t text[24];
    return _ui64tow(number, text, 10);
}
