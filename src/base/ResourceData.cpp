#include "base/ResourceData.h"

ResourceData FindResourceData(const wchar_t* type, int id) {
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(id), type);
    if (resource == nullptr) {
        return {nullptr, 0, L"FindResource"};
    }
    const HGLOBAL loaded = LoadResource(nullptr, resource);
    if (loaded == nullptr) {
        return {nullptr, 0, L"LoadResource"};
    }
    const void* data = LockResource(loaded);
    if (data == nullptr) {
        return {nullptr, 0, L"LockResource"};
    }
    return {data, SizeofResource(nullptr, resource), nullptr};
}
