#pragma once

#include <string>
#include <vector>

#include "kit/Findings.h"
#include "kit/Icon.h"
#include "kit/Identity.h"
#include "kit/TextTable.h"

/// A product as its folder describes it: all that makes a setup program this product's own.
struct Product {
    Identity identity;
    TextCells texts;
    std::string picture;  // the bytes of a PNG
    std::vector<IconImage> icon;
};

/// Reads product.json, with these settings, texts.json, background.png and icon.ico of a folder.
/// All of them are checked whatever the others hold. The product is fit for use when no finding is
/// an error.
Product ReadProductFolder(const std::wstring& folder, const Settings& settings, Findings& findings);
