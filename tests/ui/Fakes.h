#pragma once

#include <stdlib.h>

#include <functional>
#include <string>
#include <vector>

#include "kit/TextTable.h"
#include "support/Replace.h"

/// Gives the program these bytes as its resource of one type for one scope, one at a time; null is
/// no such resource.
class FakeResource {
  public:
    FakeResource(const std::wstring& type, const std::string* bytes) {
        void* const fake = const_cast<std::string*>(bytes);
        const auto find = [=](auto real, HMODULE module, LPCWSTR name, LPCWSTR kind) {
            return IS_INTRESOURCE(kind) || kind != type ? real(module, name, kind)
                                                        : static_cast<HRSRC>(fake);
        };
        const auto load = [=](auto real, HMODULE module, HRSRC resource) {
            return resource == fake ? fake : real(module, resource);
        };
        const auto lock = [=](auto real, HGLOBAL loaded) -> void* {
            return loaded == fake ? const_cast<char*>(bytes->data()) : real(loaded);
        };
        const auto size = [=](auto real, HMODULE module, HRSRC resource) {
            return resource == fake ? static_cast<DWORD>(bytes->size()) : real(module, resource);
        };
        replaced = {Replace("kernel32.dll", "FindResourceW", FindResourceW, find),
                    Replace("kernel32.dll", "LoadResource", LoadResource, load),
                    Replace("kernel32.dll", "LockResource", LockResource, lock),
                    Replace("kernel32.dll", "SizeofResource", SizeofResource, size)};
    }

  private:
    std::vector<Replaced> replaced;
};

/// A text table whose rows read "text 0", "text 1" and so on in every language.
inline std::string NumberedTexts() {
    TextCells cells;
    for (auto& column : cells) {
        for (unsigned row = 0; row < textRows; ++row) {
            column[row] = L"text " + std::to_wstring(row);
        }
    }
    return EncodeTextTable(cells);
}

/// Stands in for MessageBoxW for one scope, one at a time.
class Boxes {
  public:
    explicit Boxes(int button) : answer(button) {}

    int answer;
    /// Called while a box is open.
    std::function<void()> whileOpen = [] {};
    /// Text, caption and flags in hexadecimal of each box since this was cleared.
    std::wstring shown;
    HWND owner = nullptr;

  private:
    Replaced replaced =
        Replace("user32.dll", "MessageBoxW", MessageBoxW,
                [this](auto, HWND parent, LPCWSTR text, LPCWSTR caption, UINT flags) {
                    wchar_t digits[16];
                    shown += std::wstring(text) + L"|" + caption + L"|" + _itow(flags, digits, 16);
                    shown += L"|";
                    owner = parent;
                    whileOpen();
                    return answer;
                });
};
