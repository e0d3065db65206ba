#pragma once

#include <string>
#include <vector>

#include "preview/Record.h"

/// One page that shows the pictures of all languages beside each other, by scene, with every
/// warning at its picture and all of them at the top. The pictures of a language lie in a folder
/// named after it, beside the page. UTF-8.
std::string ComposePage(const std::string& productName, const std::vector<Record>& records);

/// Each warning once, with the languages and scenes in which it arises.
std::vector<std::string> SummariseWarnings(const std::vector<Record>& records);
