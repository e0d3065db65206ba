#pragma once

#include <string>

#include "support/ImportPatch.h"

/// Gives the program these bytes as its resource of one type for one scope, one at a time; null is
/// no such resource.
class FakeResource {
  public:
    FakeResource(const std::wstring& type, const std::string* bytes);

    const std::wstring type;
    const std::string* const bytes;

  private:
    static HRSRC WINAPI Find(HMODULE module, LPCWSTR name, LPCWSTR type);
    static HGLOBAL WINAPI Load(HMODULE module, HRSRC resource);
    static LPVOID WINAPI Lock(HGLOBAL loaded);
    static DWORD WINAPI Size(HMODULE module, HRSRC resource);

    ImportPatch find{"kernel32.dll", "FindResourceW", AsProc(&Find)};
    ImportPatch load{"kernel32.dll", "LoadResource", AsProc(&Load)};
    ImportPatch lock{"kernel32.dll", "LockResource", AsProc(&Lock)};
    ImportPatch size{"kernel32.dll", "SizeofResource", AsProc(&Size)};
};

/// A text table whose rows read "text 0", "text 1" and so on in every language.
const std::string& NumberedTexts();
