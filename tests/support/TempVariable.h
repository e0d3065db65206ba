#pragma once

#include <windows.h>

#include <string>

/// Moves the folder for temporary files for one scope. The path need not exist.
class TempVariable {
  public:
    explicit TempVariable(const std::wstring& folder) {
        GetEnvironmentVariableW(L"TMP", before, 1024);
        SetEnvironmentVariableW(L"TMP", folder.c_str());
    }
    ~TempVariable() {
        SetEnvironmentVariableW(L"TMP", *before == L'\0' ? nullptr : before);
    }
    TempVariable(const TempVariable&) = delete;
    TempVariable& operator=(const TempVariable&) = delete;

  private:
    wchar_t before[1024] = L"";
};
