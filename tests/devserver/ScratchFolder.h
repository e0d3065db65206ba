#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

/// A fresh folder in the system's temporary folder, removed at the end.
class ScratchFolder {
  public:
    ~ScratchFolder() {
        std::filesystem::remove_all(path);
    }

  private:
    std::string name = std::filesystem::temp_directory_path() / "devserver-test-XXXXXX";

  public:
    const std::filesystem::path path = mkdtemp(name.data());
};

inline void WriteFile(const std::filesystem::path& file, const std::string& content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

/// Empty when there is no such file.
inline std::string ReadFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::set<std::string> NamesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}
