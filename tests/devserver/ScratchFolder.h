#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>

/// A fresh folder in the system's temporary folder, removed at the end.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path path;
};

void WriteFile(const std::filesystem::path& file, const std::string& content);
/// Empty when there is no such file.
std::string ReadFile(const std::filesystem::path& file);
std::set<std::string> NamesIn(const std::filesystem::path& folder);
/// Looks until the condition holds, 5 s at most. False when it does not come about.
bool WaitFor(const std::function<bool()>& condition);
