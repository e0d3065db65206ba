#include "ui/FakeResource.h"

#include "kit/TextTable.h"

namespace {

const FakeResource* current;

template <typename Function>
Function* Real(const ImportPatch& patch, Function*) {
    return reinterpret_cast<Function*>(patch.original);
}

bool IsFake(const void* resource) {
    return resource == current->bytes;
}

}  // namespace

HRSRC WINAPI FakeResource::Find(HMODULE module, LPCWSTR name, LPCWSTR type) {
    return IS_INTRESOURCE(type) || type != current->type
               ? Real(current->find, &FindResourceW)(module, name, type)
               : reinterpret_cast<HRSRC>(const_cast<std::string*>(current->bytes));
}

HGLOBAL WINAPI FakeResource::Load(HMODULE module, HRSRC resource) {
    return IsFake(resource) ? reinterpret_cast<HGLOBAL>(resource)
                            : Real(current->load, &LoadResource)(module, resource);
}

LPVOID WINAPI FakeResource::Lock(HGLOBAL loaded) {
    return IsFake(loaded) ? const_cast<char*>(current->bytes->data())
                          : Real(current->lock, &LockResource)(loaded);
}

DWORD WINAPI FakeResource::Size(HMODULE module, HRSRC resource) {
    return IsFake(resource) ? static_cast<DWORD>(current->bytes->size())
                            : Real(current->size, &SizeofResource)(module, resource);
}

FakeResource::FakeResource(const std::wstring& fakeType, const std::string* fakeBytes)
    : type(fakeType), bytes(fakeBytes) {
    current = this;
}

const std::string& NumberedTexts() {
    static const std::string table = [] {
        TextCells cells;
        for (auto& column : cells) {
            for (unsigned row = 0; row < textRows; ++row) {
                column[row] = L"text " + std::to_wstring(row);
            }
        }
        return EncodeTextTable(cells);
    }();
    return table;
}
