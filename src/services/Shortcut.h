#pragma once

#include <windows.h>

#include <string>

/// Writes the shortcut file `programsShortcutPath`, replacing what was there: it starts `target`,
/// shows the first icon of `iconPath` and carries the AppUserModelID `appId`, by which the taskbar
/// groups windows and pins. The last three may be null or empty and are then left out. A property
/// that cannot be set is logged and left out. Returns the result of creating the link object if
/// that failed, otherwise that of writing the file.
HRESULT CreateShortCut(const wchar_t* target, const wchar_t* iconPath, const wchar_t* description,
                       const wchar_t* workingDirectory, const wchar_t* appId);

/// Run the pin tool of the version folder `appFolder` on the shortcut and wait for its end, without
/// a time limit. A path that does not fit starts nothing.
void PinToTaskbar(const wchar_t* appFolder);
void UnpinFromTaskbar(const wchar_t* appFolder);

/// Gives this process its AppUserModelID; an empty one is refused. False, after an ERROR line, when
/// it could not be set.
bool SetAumIdForProcess(const std::wstring& appId);
