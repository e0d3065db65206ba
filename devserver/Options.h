#pragma once

#include <string>
#include <vector>

#include "Server.h"

/// The text of --help.
const char* UsageText();

/// Reads the command line without the program's name. Without --reports, reports go to
/// devserver-reports in the system's temporary folder; without --cert-dir, the certificate goes to
/// the reports' folder. Returns an empty text, or what is wrong.
std::string ParseOptions(const std::vector<std::string>& arguments, ServerSettings& settings);
