#include <windows.h>

#include <string>

// linger EVENT [@FILE | PROGRAM...]: holds a file open with no sharing, or starts another copy with
// the programs behind it. Ends with code 7 when the event is set, or by itself after a minute.
int wmain(int argc, wchar_t** argv) {
    if (argc > 2 && argv[2][0] == L'@') {
        CreateFileW(argv[2] + 1, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    } else if (argc > 2) {
        std::wstring commandLine = std::wstring(argv[2]) + L" " + argv[1];
        for (int index = 3; index < argc; ++index) {
            commandLine += std::wstring(L" ") + argv[index];
        }
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &process);
    }
    WaitForSingleObject(OpenEventW(SYNCHRONIZE, FALSE, argv[1]), 60000);
    return 7;
}
