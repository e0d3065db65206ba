// Choices about the C and C++ runtime that only the program makes, not the tests.

#include <windows.h>
#include <stdarg.h>
#include <stdio.h>

// The arguments are read as they were given: the runtime would replace wildcards by file names.
int _dowildcard = 0;  // NOLINT(readability-identifier-naming): looked for by this name

namespace __gnu_cxx {

// The library's own handler prints the exception's name and brings the demangler for it. The
// runtime's abort() shows a box that says nothing, and an update that nobody sees would wait for
// its button. Its exit code stays.
void __verbose_terminate_handler() {
    TerminateProcess(GetCurrentProcess(), 3);
}

}  // namespace __gnu_cxx

// The JSON reader converts and prints numbers. The system's runtime does that as well as the copy
// in the compiler's, which takes 40 KiB.
extern "C" {

double SystemStrtod(const char* text, char** end) __asm__("_strtod");

double __mingw_strtod(const char* text, char** end) {
    return SystemStrtod(text, end);
}

int __mingw_snprintf(char* buffer, size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = _vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}
}
