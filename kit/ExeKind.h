#pragma once

#include <cstdint>
#include <string>

/// The kind of processor a program is for (IMAGE_FILE_MACHINE_... of the platform's documentation);
/// 0 when the file is no program or cannot be read.
std::uint16_t ReadMachine(const std::wstring& path);

/// The product that a setup program was made for.
struct SetupProduct {
    std::wstring displayName;
    std::wstring guid;
};

/// Reads it from the program's resources; both stay empty when it is no setup program.
SetupProduct ReadSetupProduct(const std::wstring& path);
