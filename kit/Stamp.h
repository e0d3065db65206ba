#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Failure.h"
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

/// Checks base and archive, those that are given, without writing.
Failure CheckStampJob(const StampJob& job);

/// Copies the base and writes the product's resources and a valid checksum into the copy. The work
/// is done beside `out` under a temporary name, so `out` is either replaced by the finished file or
/// left as it was.
Failure StampProduct(const StampJob& job, const Product& product, std::vector<StampedPart>& parts);

/// The product that a setup program was made for; both texts are empty when it is none.
struct StampedProduct {
    std::wstring displayName;
    std::wstring guid;
};

StampedProduct ReadStampedProduct(const std::wstring& path);
