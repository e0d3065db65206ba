#pragma once

#include <string>

/// What the program says about a failure is Russian words (src/operations/Progress.cpp); these give
/// the English names. A text that is not known comes back as it is.
std::string NameOperation(const std::string& text);
std::string NameStage(const std::string& text);
/// With the number of the error in front, where it has one.
std::string NameFailure(const std::string& text);

bool IsOperation(const std::string& text);
