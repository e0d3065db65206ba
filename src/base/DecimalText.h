#pragma once

#include <string>

/// A number in decimal. The library's own function for wide text brings a whole formatter with it.
std::wstring DecimalText(unsigned long long number);
