#pragma once

#include <optional>
#include <string>

/// The kit tells in three ways that something is not as it should be:
/// - A check of what somebody gave adds its findings (Findings.h) and goes on.
/// - A step or judgement that ends at the first flaw returns a Failure: one line of UTF-8 that says
///   what failed or what is expected, or nothing when all is well.
/// - What does little more than call the system returns the system's error code, 0 for success. Its
///   caller knows what was tried and finds the words.
using Failure = std::optional<std::string>;
