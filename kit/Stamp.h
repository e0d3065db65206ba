#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/ProductFolder.h"

/// A piece of what a stamped executable is made of, for the report to the user.
struct StampedPart {
    std::string name;  // UTF-8
    std::uint64_t bytes;
};

struct StampJob {
    std::wstring base;     // executable that holds no product's resources yet
    std::wstring archive;  // the application's zip for an offline build; empty for an online one
    std::wstring out;
};

/// Checks base and archive, those that are given, without writing. Returns an empty text, or one
/// line that says what is wrong.
std::string CheckStampJob(const StampJob& job);

/// Copies the base and writes the product's resources and a valid checksum into the copy. The work
/// is done beside `out` under a temporary name, so `out` is either replaced by the finished file or
/// left as it was. Returns an empty text, or one line that says what failed.
std::string StampProduct(const StampJob& job, const Product& product,
                         std::vector<StampedPart>& parts);
