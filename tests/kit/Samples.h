#pragma once

#include <windows.h>
#include <process.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "kit/Files.h"
#include "kit/Findings.h"
#include "kit/ProductFolder.h"
#include "support/Scratch.h"

/// The program that products are stamped into, SampleBase.cpp, and the reference product's folder.
inline const std::wstring sampleBase = FromHostPath(Widen(SAMPLE_BASE)),
                          sampleProduct = FromHostPath(Widen(PRODUCTS_FOLDER)) + L"\\quorvane\\";

/// The findings, each on a line.
inline std::string Lines(const Findings& findings) {
    std::string lines;
    for (const Finding& finding : findings)
        lines += FormatFinding(finding) + "\n";
    return lines;
}

/// Makes a check and expects one finding and no other, which begins with `start` and says `words`;
/// none when both are empty. With `goesOn` there may be more behind it.
inline void ExpectFinding(const std::function<void(Findings&)>& check, const std::string& start,
                          const std::string& words, bool goesOn = false) {
    Findings findings;
    check(findings);
    const std::string lines = Lines(findings);
    EXPECT_TRUE(goesOn || findings.size() == !(start + words).empty()) << start << "\n" << lines;
    EXPECT_EQ(lines.rfind(start, 0), 0u) << start << "\n" << lines;
    EXPECT_NE(lines.find(words), std::string::npos) << words << "\n" << lines;
}

inline Product SampleProduct() {
    Findings findings;
    Product product = ReadProductFolder(sampleProduct, {}, findings);
    EXPECT_EQ(Lines(findings), "");
    return product;
}

/// The same bytes in each call, which do not pack at all, or with a mask do so somewhat.
inline std::string Noise(std::size_t length, unsigned mask = 0xFF) {
    std::string noise(length, '\0');
    std::ranges::generate(noise, [mask, random = std::mt19937()]() mutable {
        return static_cast<char>(random() & mask);
    });
    return noise;
}

/// An application of the reference product, ready to be packed.
struct SampleApp {
    SampleApp() {
        for (const wchar_t* name : {L"QuorvaneStarter.exe", L"Quorvane.exe", L"syspin.exe"})
            WriteFileText(app + L"\\" + name, ReadFileText(sampleBase));
        WriteFileText(app + L"\\locales\\ü 例.pak", Noise(700000));
        std::filesystem::create_directory(app + L"\\empty");
        SetVersion("1.2.3");
    }
    void SetVersion(const std::string& version) const {
        WriteFileText(app + L"\\resources\\app\\package.json", "{\"version\":\"" + version + "\"}");
    }

    const ScratchFolder folder;
    const std::wstring app = folder / L"app", dist = folder / L"dist";
};

/// All files by relative path; a folder has a slash behind its name.
using Tree = std::map<std::wstring, std::string>;
inline Tree ReadTree(const std::wstring& root) {
    Tree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::wstring path = entry.path().lexically_relative(root).generic_wstring();
        tree[path + (entry.is_directory() ? L"/" : L"")] =
            entry.is_directory() ? "" : ReadFileText(entry.path());
    }
    return tree;
}

/// A resource of an executable, "none" when it has no such one.
inline std::string ReadResource(const std::wstring& path, const wchar_t* type, unsigned id,
                                DWORD loading = LOAD_LIBRARY_AS_DATAFILE) {
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, loading);
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    const auto* data = static_cast<const char*>(LockResource(LoadResource(module, found)));
    std::string copy = data == nullptr ? "none" : std::string(data, SizeofResource(module, found));
    FreeLibrary(module);
    return copy;
}

inline int ExitCodeOf(const std::wstring& program) {
    return static_cast<int>(_wspawnl(_P_WAIT, program.c_str(), L"program", nullptr));
}
