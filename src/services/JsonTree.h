#pragma once

#include <nlohmann/json.hpp>

#include <string>

/// Parses a JSON text into `root`. False when it is none. The library's own parse function does the
/// same and brings a second parser, for callbacks, with it: 16 KiB. Out of memory throws.
bool ParseJson(const std::string& text, nlohmann::json& root);
