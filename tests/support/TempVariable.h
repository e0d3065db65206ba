#pragma once

#include <windows.h>

#include <string>

/// Moves the folder for temporary files for one scope. The path need not exist.
class TempVariable {
  public:
    explicit TempVariable(const std::wstring& folder) {
        wchar_t text[1024] = L"";
        GetEnvironmentVariableW(L"TMP", text, 1024);
        before = text;
        SetEnvironmentVariableW(L"TMP", folder.c_str());
    }
    ~TempVariable() {
        SetEnvironmentVariableW(L"TMP", before.empty() ? nullptr : before.c_str());
    }
    TempVariable(const TempVariable&) = delete;
    TempVariable& operator=(const TempVariable&) = delete;

  private:
    std::wstring before;
};
