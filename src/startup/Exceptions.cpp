// The exceptions of the C++ library, as far as this program needs them. They are caught as they
// come (ParseManifest, UnzipToFolder), and nobody reads their texts. The library's own definitions
// keep each text in a string of its former kind, whose code takes 83 KiB.

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

namespace std {

__cow_string::__cow_string() : _M_p("") {}

__cow_string::~__cow_string() {}

runtime_error::runtime_error(const char*) {}

runtime_error::~runtime_error() noexcept {}

const char* runtime_error::what() const noexcept {
    return "";
}

void __throw_bad_alloc() {
    throw bad_alloc();
}

void __throw_bad_array_new_length() {
    throw bad_alloc();
}

void __throw_length_error(const char*) {
    throw exception();
}

void __throw_logic_error(const char*) {
    throw exception();
}

void __throw_out_of_range_fmt(const char*, ...) {
    throw exception();
}

}  // namespace std
