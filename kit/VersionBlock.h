#pragma once

#include <string>

#include "kit/Identity.h"

/// The version resource of a product's setup program (VS_VERSIONINFO of the platform's
/// documentation): its strings under Russian and UTF-16, "041904b0", which is where the program
/// looks for its own version.
std::string EncodeVersionBlock(const Identity& identity);
