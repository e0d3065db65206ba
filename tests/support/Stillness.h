#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "support/Replace.h"

/// Notes the pauses, in milliseconds, instead of making them. `onPause` gets the number of the
/// pause, from 1.
[[nodiscard]] inline Replaced NotePauses(std::vector<DWORD>& lengths,
                                         std::function<void(int)> onPause = {}) {
    return Replace("kernel32.dll", "Sleep", Sleep, [&lengths, onPause](auto, DWORD length) {
        lengths.push_back(length);
        if (onPause) {
            onPause(static_cast<int>(lengths.size()));
        }
    });
}

struct StartedProgram {
    std::wstring commandLine;
    /// "<own>" when it takes over that of this process.
    std::wstring folder;
    DWORD flags;
    /// What the caller is to close.
    HANDLE process;
    HANDLE thread;
};

/// Notes the programs instead of starting them. Such a program has ended at once.
[[nodiscard]] inline Replaced NoteStarts(std::vector<StartedProgram>& programs) {
    return Replace("kernel32.dll", "CreateProcessW", CreateProcessW,
                   [&programs](auto, auto, LPWSTR commandLine, auto, auto, auto, DWORD flags, auto,
                               LPCWSTR folder, auto, LPPROCESS_INFORMATION process) {
                       process->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
                       process->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
                       programs.push_back({commandLine, folder ? folder : L"<own>", flags,
                                           process->hProcess, process->hThread});
                       return TRUE;
                   });
}

/// Fills one of the product's path buffers.
template <std::size_t length>
void SetPath(wchar_t (&buffer)[length], const std::wstring& path) {
    buffer[path.copy(buffer, length - 1)] = L'\0';
}
