#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "kit/Findings.h"

/// Parses one of a product's files, which must hold an object; returns an empty one when it does
/// not. A key that is there twice is an error too: of two values nobody knows which one is meant.
/// `contents` says what the object is made of.
nlohmann::json ParseObject(std::string_view text, const char* file, const char* contents,
                           Findings& findings);

/// "is 5", "is null", "is an array": what stands where something else is expected.
std::string DescribeValue(const nlohmann::json& value);
