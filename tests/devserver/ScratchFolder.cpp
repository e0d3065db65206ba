#include "ScratchFolder.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace fs = std::filesystem;

namespace {

fs::path MakeFolder() {
    std::string name = fs::temp_directory_path() / "devserver-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        std::abort();
    return name;
}

}  // namespace

ScratchFolder::ScratchFolder() : path(MakeFolder()) {}

ScratchFolder::~ScratchFolder() {
    fs::remove_all(path);
}

void WriteFile(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

std::string ReadFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::set<std::string> NamesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

bool WaitFor(const std::function<bool()>& condition) {
    using Clock = std::chrono::steady_clock;
    for (const auto limit = Clock::now() + std::chrono::seconds(5); Clock::now() < limit;) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return condition();
}
