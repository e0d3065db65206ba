#pragma once

#include <string>
#include <vector>

/// What the checks of a product folder have to say. A finding is one line that names the file, the
/// key or place in it, what is there and what is expected. All text is UTF-8.
struct Finding {
    bool isError;
    std::string file;
    std::string key;  // may be empty: the file as a whole
    std::string message;
};

using Findings = std::vector<Finding>;

void AddError(Findings& findings, const char* file, std::string key, std::string message);
void AddWarning(Findings& findings, const char* file, std::string key, std::string message);

bool HasErrors(const Findings& findings);

/// "error: product.json: slug: ..." without a line end. Characters that are not seen are shown as
/// "\u0007".
std::string FormatFinding(const Finding& finding);
