#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include <nlohmann/json.hpp>

#include "kit/Findings.h"

/// The program that products are stamped into, SampleBase.cpp.
extern const std::wstring sampleBase;

std::wstring ProductFolder(const std::wstring& name);
std::string Read(const std::wstring& path);
nlohmann::json ReadJson(const std::wstring& path);

/// A resource of an executable, "none" when it has no such one.
std::string ReadResource(const std::wstring& path, const wchar_t* type, unsigned id,
                         DWORD loading = LOAD_LIBRARY_AS_DATAFILE);

/// Bytes that do not pack, always the same ones.
std::string Noise(std::size_t length);

/// The exit code of a program, -1 when it cannot be started or does not end.
int ExitCodeOf(std::wstring commandLine);

/// The findings, each on a line.
std::string Lines(const Findings& findings);
/// One finding and no other, which begins with `start` and says `expected`; none when both are
/// empty.
void ExpectOnly(const Findings& findings, const std::string& start, const std::string& expected);

/// A picture with all five row filters in turn. `paint` gives the pixel at x, y as 0xRRGGBBAA.
std::string MakePng(unsigned width, unsigned height, unsigned channels,
                    const std::function<unsigned(unsigned x, unsigned y)>& paint);

/// The same picture with the right checksum behind its header.
std::string SealPngHeader(std::string png);

/// An uneven light grey with the bar's track where the window needs it.
unsigned PaintTrack(unsigned x, unsigned y);
