#pragma once

#include <string>

// The English names of the Russian words that the program says about a failure
// (src/resources/Failures.def). A text that is not known comes back as it is.
std::string NameOperation(const std::string& text);
std::string NameStage(const std::string& text);
// With the number of the error in front, where it has one.
std::string NameFailure(const std::string& text);
