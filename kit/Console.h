#pragma once

#include <string>

/// Writes UTF-8 text and a line feed to the standard output or the standard error.
void PrintLine(const std::string& text);
void PrintErrorLine(const std::string& text);
