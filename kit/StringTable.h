#pragma once

#include <string>

#include "kit/Identity.h"

/// String resources lie in blocks of sixteen; the identity's are all in this one.
constexpr unsigned identityBlock = 9;

/// The block of string resources that holds the product's identity.
std::string EncodeStringTable(const Identity& identity);
